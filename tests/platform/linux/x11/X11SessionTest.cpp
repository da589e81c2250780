#include "platform/linux/x11/X11Session.h"

#include "tests/platform/linux/clipboard/ClipboardFixture.h"
#include "tests/platform/linux/x11/SelectionOwner.h"
#include "tests/platform/linux/x11/VirtualDisplay.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using How = SelectionOwner::How;

constexpr std::size_t limit = 1'000'000;

class X11SessionTest : public testing::Test {
  protected:
    /// Owns the clipboard from now on.
    void own(SelectionOwner::Script script) {
        const std::int64_t before = session->clipboardChanges();
        auto next = std::make_unique<SelectionOwner>(display.name(), std::move(script));
        until([&] { return session->clipboardChanges() > before; });
        owner = std::move(next);
    }
    Types types() { return typesOf(loop, *session); }
    std::optional<std::string> read(std::size_t maximumBytes = limit) {
        return readFrom(loop, *session, plain, maximumBytes);
    }

    VirtualDisplay display;
    TestLoop loop;
    std::unique_ptr<X11Session> session =
        std::make_unique<X11Session>(X11Session::Options{.display = display.name(), .timeout = 400ms});
    std::unique_ptr<SelectionOwner> owner;
    const Types ready = types();  // connected
};

TEST_F(X11SessionTest, SurvivesMisbehavingOwners) {
    struct Case {
        const char* name;
        How how;
        bool large;  ///< whether the owner has much
        bool found;  ///< whether that is what is read
    };
    const Case cases[] = {
        {"refuses", How::refuses, false, false},
        {"stops in the middle", How::stops, true, false},
        {"dies in the middle", How::dies, true, false},
        {"announces too little", How::liesSmall, true, true},
        {"announces too much", How::liesLarge, true, true},
        {"changes the type in the middle", How::changesType, true, false},
        {"answers in another format", How::wrongFormat, false, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const std::string text = one.large ? largeText() : "short text";
        own({{"UTF8_STRING", {text, one.how}}});
        const auto found = read();
        EXPECT_TRUE(found == (one.found ? std::optional(text) : std::nullopt)) << found.value_or("").size();
        own({{"UTF8_STRING", {"the next"}}});
        EXPECT_EQ(read(), "the next");
    }
    own({{"UTF8_STRING", {"\xdc", How::whole, "STRING"}}});
    EXPECT_EQ(read(), "Ü") << "Latin-1 in spite of the question";
    EXPECT_EQ(read(), "Ü");
    EXPECT_EQ(owner->requests("TARGETS"), 1) << "asked once for each change";
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
        const auto found = read();
        ASSERT_TRUE(found);
        EXPECT_GE(found->size(), one.leastRead);
        EXPECT_LE(found->size(), one.mostRead);
        own({{"UTF8_STRING", {"the next"}}});
        EXPECT_EQ(read(8), "the next");
    }
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
    EXPECT_EQ(session->clipboardChanges(), 0);
}

}  // namespace
}  // namespace velmora::test
