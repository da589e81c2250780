#include "platform/linux/dbus/Logind.h"

#include "platform/Runtime.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/dbus/PrivateBus.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

enum class Mood { obliging, refusing, silent };

/// A logind that knows no session, and a screen saver, each in a mood of its own.
struct SessionServices {
    const Mood logind;
    const Mood screenSaver;
    test::PrivateBus bus{{"org.freedesktop.login1", "org.freedesktop.ScreenSaver"},
                         [this](sd_bus_message* message, std::string&) {
                             const std::string interface = sd_bus_message_get_interface(message);
                             const Mood mood = interface == "org.freedesktop.ScreenSaver" ? screenSaver : logind;
                             if (mood == Mood::silent) return 1;
                             if (mood == Mood::obliging && std::string(sd_bus_message_get_member(message)) == "Lock")
                                 return sd_bus_reply_method_return(message, nullptr);
                             return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "no");
                         }};
};

TEST(Logind, LeavesTheLockToTheScreenSaverWhereLogindWillNot) {
    struct Case {
        Mood logind;
        Mood screenSaver;
        SessionAnswer answer;
    };
    test::TestLoop loop;
    const WorkerPool pool{1};
    for (const Case& one : {Case{Mood::obliging, Mood::refusing, SessionAnswer::accepted},
                            Case{Mood::refusing, Mood::obliging, SessionAnswer::accepted},
                            Case{Mood::silent, Mood::obliging, SessionAnswer::accepted},
                            Case{Mood::refusing, Mood::silent, SessionAnswer::refused},
                            Case{Mood::silent, Mood::refusing, SessionAnswer::refused},
                            Case{Mood::silent, Mood::silent, SessionAnswer::unavailable}}) {
        const SessionServices services{one.logind, one.screenSaver};
        LogindScreenLock screenLock(pool.executor(), 400ms);
        const auto answer = loop.run([&]() -> Task<SessionAnswer> { co_return co_await screenLock.lock(); });
        EXPECT_EQ(answer, one.answer) << static_cast<int>(one.logind) << static_cast<int>(one.screenSaver);
    }
}

}  // namespace
}  // namespace velmora
