#include "platform/linux/dbus/SingleInstance.h"

#include "tests/platform/linux/dbus/PrivateBus.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Role = SingleInstance::Role;

TEST(SingleInstance, TheFirstIsShownByTheSecondAndReplacedByTheNext) {
    const test::PrivateBus bus;
    auto first = std::make_unique<SingleInstance>();
    ASSERT_EQ(first->role(), Role::first);
    std::atomic<int> shown = 0;
    first->onShow = [&] { ++shown; };
    SingleInstance second;
    EXPECT_EQ(second.role(), Role::second);
    EXPECT_EQ(second.descriptor(), -1);
    std::jthread loop([&](const std::stop_token& stop) {
        while (!stop.stop_requested() && first->process())
            std::this_thread::sleep_for(1ms);
    });
    EXPECT_TRUE(second.showFirst());
    EXPECT_EQ(shown, 1);
    loop = {};
    first.reset();
    EXPECT_EQ(SingleInstance().role(), Role::first);
}

TEST(SingleInstance, IsAloneWhereTheBusKeepsSilent) {
    const test::SilentBus bus;
    const auto began = std::chrono::steady_clock::now();
    SingleInstance instance;
    EXPECT_EQ(instance.role(10ms), Role::unknown);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 1s) << "whoever asks need not wait to the end";
    EXPECT_EQ(instance.role(), Role::alone);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 3s);
    EXPECT_EQ(instance.role(), Role::alone);
}

}  // namespace
}  // namespace velmora
