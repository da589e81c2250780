// What the readers of every kind of desktop have in common.

#include "platform/linux/clipboard/WaylandClipboard.h"
#include "platform/linux/x11/X11Session.h"
#include "tests/platform/linux/clipboard/ClipboardFixture.h"
#include "tests/platform/linux/clipboard/Compositor.h"
#include "tests/platform/linux/x11/SelectionOwner.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

enum class Owner { answers, silent, endless, losesItself };
using Forms = std::map<std::string, std::string>;

/// The same in a desktop's own words.
template <class How>
How as(Owner owner) {
    const std::array words{How::whole, How::silent, How::endless, How::losesItself};
    return words.at(static_cast<std::size_t>(owner));
}

/// A desktop with a clipboard, whose owners answer as they are told.
class Desktop {
  public:
    virtual ~Desktop() = default;
    virtual std::unique_ptr<ClipboardReading> connect(std::chrono::milliseconds timeout) = 0;
    virtual void own(const Forms& forms, Owner how) = 0;
    virtual void clear() = 0;
    /// How often the present owner, or any, was asked for contents.
    virtual int reads() = 0;
    virtual void end() = 0;
};

class X11Desktop final : public Desktop {
  public:
    std::unique_ptr<ClipboardReading> connect(std::chrono::milliseconds timeout) override {
        return std::make_unique<X11Session>(X11Session::Options{.display = display_.name, .timeout = timeout});
    }
    void own(const Forms& forms, Owner how) override {
        SelectionOwner::Script script;
        for (const auto& [target, bytes] : forms)
            script[target] = {bytes,
                              bytes.size() > 250'000 ? SelectionOwner::How::pieces : as<SelectionOwner::How>(how)};
        forms_ = forms;
        owner_ = std::make_unique<SelectionOwner>(display_.name, script);
    }
    void clear() override { owner_.reset(); }
    int reads() override {
        int all = 0;
        for (const auto& [target, bytes] : forms_)
            all += owner_ ? owner_->requests(target) : 0;
        return all;
    }
    void end() override { display_.server.end(); }

  private:
    VirtualDisplay display_;
    Forms forms_;
    std::unique_ptr<SelectionOwner> owner_;
};

class WaylandDesktop final : public Desktop {
  public:
    std::unique_ptr<ClipboardReading> connect(std::chrono::milliseconds timeout) override {
        return WaylandClipboard::connect({.display = compositor_->name(), .timeout = timeout});
    }
    void own(const Forms& forms, Owner how) override {
        readBefore_ = compositor_->requests();
        compositor_->own({forms, as<Compositor::How>(how)});
    }
    void clear() override { compositor_->own({}); }
    int reads() override { return compositor_->requests() - readBefore_; }
    void end() override { compositor_.reset(); }

  private:
    std::unique_ptr<Compositor> compositor_ = std::make_unique<Compositor>();
    int readBefore_ = 0;
};

class ClipboardReadingTest : public testing::TestWithParam<const char*> {
  protected:
    ClipboardReadingTest() {
        if (GetParam() == "X11"s) desktop = std::make_unique<X11Desktop>();
        if (!desktop) desktop = std::make_unique<WaylandDesktop>();
        connect(5s);
    }
    void connect(std::chrono::milliseconds timeout) {
        clipboard = desktop->connect(timeout);
        types();  // connected
    }
    /// Puts it on the clipboard and waits until that is known.
    void own(const Forms& forms, Owner how = Owner::answers) {
        const std::int64_t before = clipboard->clipboardChanges();
        desktop->own(forms, how);
        until([&] { return clipboard->clipboardChanges() > before; });
    }
    Types types() { return typesOf(loop, *clipboard); }
    std::optional<std::string> read(const std::string& type = plain) { return readFrom(loop, *clipboard, type); }

    TestLoop loop;
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<ClipboardReading> clipboard;
};

INSTANTIATE_TEST_SUITE_P(Desktops, ClipboardReadingTest, testing::Values("X11", "Wayland"),
                         [](const auto& test) { return test.param; });

TEST_P(ClipboardReadingTest, CountsChangesWithoutReading) {
    const std::int64_t start = clipboard->clipboardChanges();
    own({{"UTF8_STRING", "one"}});
    own({{"UTF8_STRING", "two"}});
    EXPECT_EQ(clipboard->clipboardChanges(), start + 2);
    EXPECT_EQ(desktop->reads(), 0);
    desktop->clear();
    until([&] { return clipboard->clipboardChanges() == start + 3; });
    EXPECT_EQ(types(), Types{});
    EXPECT_EQ(read(), std::nullopt);
}

TEST_P(ClipboardReadingTest, ReadsEveryFormOfText) {
    const std::string mozilla("h\0t\0t\0p\0:\0/\0/\0\xe9\0\n\0T\0i\0", 22);
    const struct {
        const char* name;
        Forms forms;
        std::optional<std::string> text;
        std::optional<std::string> url;
    } cases[] = {
        {"UTF-8", {{"STRING", "?bung"}, {"UTF8_STRING", "Übung €"}}, "Übung €", {}},
        {"UTF-8 as a MIME type", {{"text/plain;charset=utf-8", "Übung"}, {"text/plain", "?"}}, "Übung", {}},
        {"Latin-1", {{"STRING", "\xdc"s + "bung\xa0\xff"}}, "Übung\u00a0ÿ", {}},
        {"no charset, UTF-8", {{"text/plain", "Übung"}}, "Übung", {}},
        {"no charset, Latin-1", {{"text/plain", "\xdc"s + "bung"}}, "Übung", {}},
        {"not UTF-8", {{"UTF8_STRING", "a\xff\xfe" + "b"s}}, "a\uFFFD\uFFFDb", {}},
        {"NULs", {{"UTF8_STRING", "a\0b\0\0"s}}, "a\0b"s, {}},
        {"empty", {{"UTF8_STRING", ""}}, "", {}},
        {"large", {{"UTF8_STRING", largeText()}}, largeText(), {}},
        {"addresses", {{"text/uri-list", "# comment\r\nhttps://a.org/\r\nhttps://b.org/\r\n"}}, {}, "https://a.org/"},
        {"a link", {{"text/x-moz-url", mozilla}}, {}, "http://é"},
        {"half a link", {{"text/x-moz-url", mozilla.substr(0, 5)}}, {}, "ht"},
        {"an image", {{"image/png", "\x89PNG"}}, {}, {}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        own(one.forms);
        EXPECT_TRUE(read() == one.text) << read().value_or("(nothing)").substr(0, 50);
        EXPECT_EQ(read(address), one.url);
    }
}

TEST_P(ClipboardReadingTest, TellsTheMarksWithoutReadingTheContents) {
    for (const auto& [target, type] : std::map<std::string, std::string_view>{
             {"x-kde-passwordManagerHint", pasteboardType::concealed},
             {"org.nspasteboard.ConcealedType", pasteboardType::concealed},
             {"org.nspasteboard.TransientType", pasteboardType::transient},
             {"org.nspasteboard.AutoGeneratedType", pasteboardType::autoGenerated}}) {
        own({{"UTF8_STRING", "secret"}, {target, "secret"}});
        EXPECT_EQ(types(), (Types{plain, std::string(type)}));
        EXPECT_EQ(desktop->reads(), 0) << target;
    }
    own({{"UTF8_STRING", "a"}, {"STRING", "a"}, {"text/uri-list", "b"}, {"image/png", "c"}});
    EXPECT_EQ(types(), (Types{plain, address}));
}

TEST_P(ClipboardReadingTest, SurvivesMisbehavingOwners) {
    connect(400ms);
    own({{"UTF8_STRING", "x"}}, Owner::silent);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 400ms);
    own({{"UTF8_STRING", "x"}}, Owner::losesItself);
    EXPECT_EQ(read(), std::nullopt);
    own({{"UTF8_STRING", std::string(65'536, 'x')}}, Owner::endless);
    EXPECT_GT(read().value_or("").size(), 1'000'000U) << "as much as shows that it is too much";
    own({{"UTF8_STRING", "and on"}});
    EXPECT_EQ(read(), "and on");
}

TEST_P(ClipboardReadingTest, WaitsNoLongerThanThereIsReasonTo) {
    connect(1h);
    std::optional<std::string> found;
    const auto waitUntilAsked = [&] {
        own({{"UTF8_STRING", "never"}}, Owner::silent);
        found = "unset";
        const TaskHandle task =
            spawn(loop.executor(), [&]() -> Task<> { found = co_await clipboard->clipboardString(plain, 10); });
        loop.settle();
        until([&] { return desktop->reads() == 1; });
        EXPECT_FALSE(task.done());
        return task;
    };
    TaskHandle task = waitUntilAsked();
    own({{"UTF8_STRING", "new"}});
    loop.until([&] { return task.done(); });
    EXPECT_EQ(found, std::nullopt) << "a new copy ends the wait for the old";
    task = waitUntilAsked();
    task.cancel();
    loop.until([&] { return task.done(); });
    task = waitUntilAsked();
    desktop->end();
    loop.until([&] { return task.done(); });
    until([&] { return types().empty(); });
    EXPECT_EQ(read(), std::nullopt) << "without a display there is nothing";
}

TEST(WaylandClipboard, IsNotThereWithoutACompositorThatSharesIt) {
    const Compositor closed(false);
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name()}));
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name() + "-none"}));
}

}  // namespace
}  // namespace velmora::test
