#include "platform/Runtime.h"

#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::TestLoop;

TEST(SystemClock, SleepIsCancelledFromTheTasksOwnThread) {
    TestLoop loop;
    SystemClock clock;
    // The cancellation races with the timer: these moments on both sides of its end are what is tested.
    for (int i = 0; i < 100; ++i) {
        const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> { co_await clock.sleep(200us); });
        loop.settle();
        if (i % 2 == 0) std::this_thread::sleep_for(std::chrono::microseconds(150 + i));
        task.cancel();
        loop.until([&] { return task.done(); });
    }
}

}  // namespace
}  // namespace velmora
