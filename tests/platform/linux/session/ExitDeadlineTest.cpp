#include "platform/linux/session/ExitDeadline.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

TEST(ExitDeadlineDeathTest, EndsAProcessThatHangsAndLetsOthersEndByThemselves) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end = [](std::chrono::milliseconds deadline, bool hangs) {
        {
            ExitDeadline exit;
            exit.start(deadline, 3);
            if (hangs) pause();
        }
        _exit(4);
    };
    EXPECT_EXIT(end(10ms, true), testing::ExitedWithCode(3), "");
    EXPECT_EXIT(end(1h, false), testing::ExitedWithCode(4), "");
}

}  // namespace
}  // namespace velmora
