#include "platform/linux/x11/X11Session.h"

#include "platform/Pasteboard.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/x11/SelectionOwner.h"
#include "tests/platform/linux/x11/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using How = SelectionOwner::How;
using Types = std::vector<std::string>;

const std::string plain(pasteboardType::text);
const std::string address(pasteboardType::url);
constexpr std::size_t limit = 1'000'000;

/// Five hundred thousand bytes, every part of them different, with a letter across each border between two pieces.
std::string largeText() {
    std::string text;
    for (int i = 0; text.size() < 500'000; ++i)
        text += std::to_string(i) + "€";
    return text;
}

class X11SessionTest : public testing::Test {
  protected:
    /// Owns the clipboard from now on.
    void own(SelectionOwner::Script script) {
        const std::int64_t before = session->clipboardChanges();
        auto next = std::make_unique<SelectionOwner>(display.name(), std::move(script));
        until([&] { return session->clipboardChanges() > before; });
        owner = std::move(next);
    }
    Types types() {
        return loop.run([&]() -> Task<Types> { co_return co_await session->clipboardTypes(); });
    }
    std::optional<std::string> read(const std::string& type, std::size_t maximumBytes = limit) {
        return loop.run([&]() -> Task<std::optional<std::string>> {
            co_return co_await session->clipboardString(type, maximumBytes);
        });
    }
    /// What is waited for happens on other threads, which wake nobody here.
    static void until(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(2ms);
        EXPECT_TRUE(condition());
    }

    VirtualDisplay display;
    TestLoop loop;
    std::unique_ptr<X11Session> session = std::make_unique<X11Session>(X11Session::Options{.display = display.name()});
    std::unique_ptr<SelectionOwner> owner;
    const Types ready = types();  // connected
};

TEST_F(X11SessionTest, CountsChangesWithoutReading) {
    const std::int64_t start = session->clipboardChanges();
    own({{"UTF8_STRING", {"one"}}});
    EXPECT_EQ(session->clipboardChanges(), start + 1);
    own({{"UTF8_STRING", {"two"}}});
    EXPECT_EQ(session->clipboardChanges(), start + 2);
    EXPECT_EQ(owner->requests("TARGETS") + owner->requests("UTF8_STRING"), 0);
    owner.reset();
    until([&] { return session->clipboardChanges() == start + 3; });
    EXPECT_EQ(types(), Types{}) << "its owner has ended";
    EXPECT_EQ(read(plain), std::nullopt);
}

TEST_F(X11SessionTest, ReadsEveryFormOfText) {
    struct Case {
        const char* name;
        SelectionOwner::Script script;
        std::optional<std::string> text;
        std::optional<std::string> url;
    };
    const std::string mozilla("h\0t\0t\0p\0:\0/\0/\0\xe9\0\n\0T\0i\0", 22);
    const std::vector<Case> cases{
        {"UTF-8", {{"UTF8_STRING", {"Übung €"}}}, "Übung €", {}},
        {"UTF-8 as a MIME type", {{"text/plain;charset=utf-8", {"Übung"}}}, "Übung", {}},
        {"Latin-1", {{"STRING", {"\xdc"s + "bung\xa0\xff"}}}, "Übung\u00a0ÿ", {}},
        {"UTF-8 before Latin-1", {{"STRING", {"?bung"}}, {"UTF8_STRING", {"Übung"}}}, "Übung", {}},
        {"Latin-1 in spite of the question", {{"UTF8_STRING", {"\xdc", How::whole, "STRING"}}}, "Ü", {}},
        {"no charset, UTF-8", {{"text/plain", {"Übung"}}}, "Übung", {}},
        {"no charset, Latin-1", {{"text/plain", {"\xdc"s + "bung"}}}, "Übung", {}},
        {"not UTF-8", {{"UTF8_STRING", {"a\xff\xfe" + "b"s}}}, "a\uFFFD\uFFFDb", {}},
        {"NULs", {{"UTF8_STRING", {"a\0b\0\0"s}}}, "a\0b"s, {}},
        {"empty", {{"UTF8_STRING", {""}}}, "", {}},
        {"addresses",
         {{"text/uri-list", {"# comment\r\nhttps://example.org/a\r\nhttps://example.org/b\r\n"}}},
         {},
         "https://example.org/a"},
        {"a comment only", {{"text/uri-list", {"# comment\r\n"}}}, {}, {}},
        {"a link", {{"text/x-moz-url", {mozilla}}}, {}, "http://é"},
        {"half a link", {{"text/x-moz-url", {mozilla.substr(0, 5)}}}, {}, "ht"},
        {"in pieces", {{"UTF8_STRING", {largeText(), How::pieces}}}, largeText(), {}},
        {"an image", {{"image/png", {"\x89PNG"}}}, {}, {}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        own(one.script);
        EXPECT_TRUE(read(plain) == one.text) << read(plain).value_or("(nothing)").substr(0, 50);
        EXPECT_EQ(read(address), one.url);
        EXPECT_EQ(owner->requests("TARGETS"), 1) << "asked once for each change";
    }
}

TEST_F(X11SessionTest, TellsTheMarksWithoutReadingTheContents) {
    struct Case {
        const char* target;
        std::string_view type;
    };
    const Case cases[] = {
        {"x-kde-passwordManagerHint", pasteboardType::concealed},
        {"org.nspasteboard.ConcealedType", pasteboardType::concealed},
        {"org.nspasteboard.TransientType", pasteboardType::transient},
        {"org.nspasteboard.AutoGeneratedType", pasteboardType::autoGenerated},
    };
    for (const Case& one : cases) {
        own({{"UTF8_STRING", {"secret"}}, {one.target, {"secret"}}});
        EXPECT_EQ(types(), (Types{plain, std::string(one.type)}));
        EXPECT_EQ(owner->requests("UTF8_STRING") + owner->requests(one.target), 0) << one.target;
    }
    own({{"UTF8_STRING", {"a"}}, {"STRING", {"a"}}, {"text/uri-list", {"b"}}, {"image/png", {"c"}}});
    EXPECT_EQ(types(), (Types{plain, address}));
}

TEST_F(X11SessionTest, SurvivesMisbehavingOwners) {
    session = std::make_unique<X11Session>(X11Session::Options{.display = display.name(), .timeout = 400ms});
    types();
    struct Case {
        const char* name;
        How how;
        bool large;  ///< whether the owner has much
        bool found;  ///< whether that is what is read
    };
    const Case cases[] = {
        {"never answers", How::silent, false, false},
        {"refuses", How::refuses, false, false},
        {"stops in the middle", How::stops, true, false},
        {"dies in the middle", How::dies, true, false},
        {"announces too little", How::liesSmall, true, true},
        {"announces too much", How::liesLarge, true, true},
        {"changes the type in the middle", How::changesType, true, false},
        {"answers in another format", How::wrongFormat, false, false},
        {"gives up instead", How::losesItself, false, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const std::string text = one.large ? largeText() : "short text";
        own({{"UTF8_STRING", {text, one.how}}});
        const auto found = read(plain);
        EXPECT_TRUE(found == (one.found ? std::optional(text) : std::nullopt)) << found.value_or("").size();
        own({{"UTF8_STRING", {"the next"}}});
        EXPECT_EQ(read(plain), "the next");
    }
    own({{"TARGETS", {"", How::silent}}});
    EXPECT_EQ(types(), Types{});
    own({{"TARGETS", {"not atoms"}}, {"UTF8_STRING", {"text"}}});
    EXPECT_EQ(types(), Types{});
}

TEST_F(X11SessionTest, TakesNoMoreThanItWasAskedFor) {
    struct Case {
        const char* name;
        How how;
        std::size_t bytes;
        std::size_t leastRead;
        std::size_t mostRead;
    };
    const Case cases[] = {
        {"all that fits", How::whole, limit, limit, limit},
        {"one too many", How::whole, limit + 1, limit + 1, limit + 1},
        {"many too many", How::whole, 3 * limit, limit + 1, limit + 4},
        {"all that fits in pieces", How::pieces, limit, limit, limit},
        {"one too many in pieces", How::pieces, limit + 1, limit + 1, limit + 1},
        {"without an end", How::endless, 0, limit + 1, limit + 4},
        {"a flood", How::floods, 0, limit + 1, limit + 4},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        own({{"UTF8_STRING", {std::string(one.bytes, 'x'), one.how}}});
        const auto found = read(plain);
        ASSERT_TRUE(found);
        EXPECT_GE(found->size(), one.leastRead);
        EXPECT_LE(found->size(), one.mostRead);
        own({{"UTF8_STRING", {"the next"}}});
        EXPECT_EQ(read(plain, 8), "the next");
    }
}

TEST_F(X11SessionTest, ANewCopyEndsTheWaitForTheOld) {
    session = std::make_unique<X11Session>(X11Session::Options{.display = display.name(), .timeout = 1h});
    types();
    own({{"UTF8_STRING", {"never", How::silent}}});
    std::optional<std::string> found = "unset";
    const auto work = [&]() -> Task<> { found = co_await session->clipboardString(plain, limit); };
    TaskHandle task = spawn(loop.executor(), work);
    loop.settle();
    until([&] { return owner->requests("UTF8_STRING") == 1; });
    EXPECT_FALSE(task.done());
    own({{"UTF8_STRING", {"new", How::silent}}});
    loop.until([&] { return task.done(); });
    EXPECT_EQ(found, std::nullopt);

    // So do a cancellation and the end of the session, and that of the server.
    task = spawn(loop.executor(), work);
    loop.settle();
    until([&] { return owner->requests("UTF8_STRING") == 1; });
    task.cancel();
    loop.until([&] { return task.done(); });
    task = spawn(loop.executor(), work);
    loop.settle();
    until([&] { return owner->requests("UTF8_STRING") == 2; });
    display.end();
    loop.until([&] { return task.done(); });
    EXPECT_EQ(types(), Types{});
    session.reset();
}

TEST_F(X11SessionTest, KnowsTheActiveWindowThatIsNotItsOwn) {
    const X11Connection manager(display.name());
    const auto atoms = manager.atoms({"_NET_ACTIVE_WINDOW", "_NET_WM_PID"});
    const auto window = [&](const std::string& classes, pid_t process) {
        const xcb_window_t made = xcb_generate_id(manager.get());
        xcb_create_window(manager.get(), XCB_COPY_FROM_PARENT, made, manager.root(), 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_change_property(manager.get(), XCB_PROP_MODE_REPLACE, made, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(classes.size()), classes.data());
        xcb_change_property(manager.get(), XCB_PROP_MODE_REPLACE, made, atoms[1], XCB_ATOM_CARDINAL, 32, 1, &process);
        return made;
    };
    const auto classes = [&] {
        return loop.run([&]() -> Task<Types> { co_return co_await session->activeWindowClasses(); });
    };
    struct Case {
        const char* name;
        xcb_window_t window;
        Types classes;
    };
    const Case cases[] = {
        {"none", XCB_NONE, {}},
        {"another's", window("viewer\0Viewer\0"s, 1), {"Viewer", "viewer"}},
        {"our own", window("velmora\0velmora\0"s, getpid()), {"Viewer", "viewer"}},
        {"none again", XCB_NONE, {}},
        {"half a class", window("editor", 1), {"editor"}},
        {"no class", window("", 1), {}},
        {"a window that is gone", 0x12345678, {}},
    };
    for (const Case& one : cases) {
        xcb_change_property(manager.get(), XCB_PROP_MODE_REPLACE, manager.root(), atoms[0], XCB_ATOM_WINDOW, 32, 1,
                            &one.window);
        xcb_flush(manager.get());
        until([&] { return classes() == one.classes; });
        EXPECT_EQ(classes(), one.classes) << one.name;
    }
}

TEST_F(X11SessionTest, WithoutADisplayNothingIsThere) {
    session = std::make_unique<X11Session>(X11Session::Options{.display = ":54321"});
    EXPECT_EQ(types(), Types{});
    EXPECT_EQ(read(plain), std::nullopt);
    EXPECT_EQ(session->clipboardChanges(), 0);
}

}  // namespace
}  // namespace velmora::test
