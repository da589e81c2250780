#include "platform/linux/clipboard/WaylandClipboard.h"

#include "tests/platform/linux/clipboard/ClipboardFixture.h"
#include "tests/platform/linux/clipboard/Compositor.h"

namespace velmora::test {
namespace {

TEST(WaylandClipboard, LeavesTheOtherSelectionAloneAndKeepsNoOffers) {
    Compositor compositor;
    TestLoop loop;
    const auto clipboard = WaylandClipboard::connect({.display = compositor.name()});
    ASSERT_TRUE(clipboard);
    const std::int64_t start = clipboard->clipboardChanges();
    compositor.ownPrimary();
    compositor.own({{{"text/plain", "one"}}});
    compositor.own({{{"text/plain", std::string(500'000, 'x')}}});
    until([&] { return clipboard->clipboardChanges() == start + 2; });
    until([&] { return compositor.offers() == 1; });
    const auto part = readFrom(loop, *clipboard, plain, 1000);
    ASSERT_TRUE(part);
    EXPECT_GT(part->size(), 1000U);
    EXPECT_LT(part->size(), 500'000U);
    compositor.own({});
    until([&] { return compositor.offers() == 0; });
}

TEST(WaylandClipboard, IsNotThereWithoutACompositorThatSharesIt) {
    const Compositor closed(false);
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name()}));
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name() + "-none"}));
}

}  // namespace
}  // namespace velmora::test
