#include "platform/linux/session/TerminationSignals.h"

#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <csignal>

namespace velmora {
namespace {

TEST(TerminationSignalsDeathTest, CallsAtTheFirstSignalAndEndsAtTheSecond) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const auto provoke = [signal] {
            test::TestLoop loop;
            bool called = false;
            const TerminationSignals signals(loop.executor(), [&] { called = true; });
            std::raise(signal);
            loop.until([&] { return called; });
            std::raise(signal);
        };
        EXPECT_EXIT(provoke(), testing::KilledBySignal(signal), "") << signal;
    }
}

}  // namespace
}  // namespace velmora
