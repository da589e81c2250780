#include "platform/linux/x11/X11Session.h"

#include "tests/platform/linux/clipboard/ClipboardFixture.h"
#include "tests/platform/linux/x11/SelectionOwner.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using How = SelectionOwner::How;

constexpr std::size_t limit = 1'000'000;

class X11SessionTest : public testing::Test {
  protected:
    /// Owns the clipboard from now on.
    void own(SelectionOwner::Script script) {
        const std::int64_t before = session->clipboardChanges();
        auto next = std::make_unique<SelectionOwner>(display.name, std::move(script));
        until([&] { return session->clipboardChanges() > before; });
        owner = std::move(next);
    }
    Types types() { return typesOf(loop, *session); }
    std::optional<std::string> read() { return readFrom(loop, *session, plain, limit); }

    VirtualDisplay display;
    TestLoop loop;
    std::unique_ptr<X11Session> session =
        std::make_unique<X11Session>(X11Session::Options{.display = display.name, .timeout = 400ms});
    std::unique_ptr<SelectionOwner> owner;
    const Types ready = types();  // connected
};

TEST_F(X11SessionTest, SurvivesMisbehavingOwners) {
    const std::string text = largeText();
    const std::pair<How, std::optional<std::string>> cases[] = {
        {How::refuses, {}},     {How::stops, {}},       {How::dies, {}},        {How::liesSmall, text},
        {How::liesLarge, text}, {How::changesType, {}}, {How::wrongFormat, {}},
    };
    for (const auto& [how, expected] : cases) {
        own({{"UTF8_STRING", {text, how}}});
        const auto found = read();
        EXPECT_TRUE(found == expected) << static_cast<int>(how) << ": " << found.value_or("").size();
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
    const std::u32string targets(4097, XCB_ATOM_STRING);  // a mark could come after these
    own({{"TARGETS", {{reinterpret_cast<const char*>(targets.data()), 4 * targets.size()}, How::wrongFormat}}});
    EXPECT_EQ(types(), Types{std::string(pasteboardType::concealed)});
}

TEST_F(X11SessionTest, TakesNoMoreThanItWasAskedFor) {
    for (const How how : {How::whole, How::pieces, How::endless, How::floods}) {
        SCOPED_TRACE(static_cast<int>(how));
        own({{"UTF8_STRING", {std::string(3 * limit, 'x'), how}}});
        const auto found = read();
        ASSERT_TRUE(found);
        EXPECT_GT(found->size(), limit);
        EXPECT_LE(found->size(), limit + 4);
        own({{"UTF8_STRING", {"the next"}}});
        EXPECT_EQ(read(), "the next");
    }
}

TEST_F(X11SessionTest, AFloodOfActiveWindowsDelaysNothing) {
    const X11Connection other(display.name);
    const xcb_atom_t active = other.atoms({"_NET_ACTIVE_WINDOW"}).at(0);
    const xcb_window_t window = other.root();
    xcb_change_property(other.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 4, "a\0B");
    for (int i = 0; i < 200'000; ++i)
        xcb_change_property(other.get(), XCB_PROP_MODE_REPLACE, window, active, XCB_ATOM_WINDOW, 32, 1, &window);
    static_cast<void>(other.atoms({"done"}));
    const auto start = std::chrono::steady_clock::now();
    const auto ask = [&]() -> Task<Types> { co_return co_await session->activeWindowClasses(); };
    EXPECT_EQ(loop.run(ask), (Types{"B", "a"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST_F(X11SessionTest, WithoutADisplayNothingIsThere) {
    session = std::make_unique<X11Session>(X11Session::Options{.display = ":54321"});
    EXPECT_EQ(types(), Types{});
    EXPECT_EQ(session->clipboardChanges(), 0);
}

}  // namespace
}  // namespace velmora::test
