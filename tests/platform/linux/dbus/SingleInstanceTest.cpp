#include "platform/linux/dbus/SingleInstance.h"

#include "tests/platform/linux/dbus/PrivateBus.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Role = SingleInstance::Role;

TEST(SingleInstance, IsAloneWhereTheBusKeepsSilent) {
    const test::PrivateBus bus({}, {});
    bus.daemon.freeze();
    const auto began = std::chrono::steady_clock::now();
    SingleInstance instance;
    EXPECT_EQ(instance.role(10ms), Role::unknown);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 1s) << "whoever asks need not wait to the end";
    EXPECT_EQ(instance.role(), Role::alone);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 3s);
}

}  // namespace
}  // namespace velmora
