#include "platform/linux/dbus/Logind.h"

#include "platform/Runtime.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/dbus/PrivateBus.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

enum class Mood { obliging, refusing, silent };

const std::string manager = "/org/freedesktop/login1 ";

/// A logind and a screen saver, each in a mood of its own. Logind knows the session "c7" only.
class SessionServices {
  public:
    explicit SessionServices(const Texts& names)
        : bus_(names, [this](sd_bus_message* message, std::string& call) { return answer(message, call); }) {}

    [[nodiscard]] Texts calls() { return bus_.calls(); }

    std::atomic<Mood> logind = Mood::obliging;
    std::atomic<Mood> screenSaver = Mood::obliging;

  private:
    int answer(sd_bus_message* message, std::string& call) const {
        const std::string interface = sd_bus_message_get_interface(message);
        const std::string member = sd_bus_message_get_member(message);
        const Mood mood = interface == "org.freedesktop.ScreenSaver" ? screenSaver : logind;
        if (mood == Mood::silent) return 1;
        if (member == "GetSession") {
            const char* id = "";
            sd_bus_message_read(message, "s", &id);
            call += std::string(" ") + id;
            if (std::string(id) == "c7")
                return sd_bus_reply_method_return(message, "o", "/org/freedesktop/login1/session/c7");
            return sd_bus_reply_method_errorf(message, "org.freedesktop.login1.NoSuchSession", "no such session");
        }
        if (member == "GetSessionByPID") {
            return sd_bus_reply_method_errorf(message, "org.freedesktop.login1.NoSessionForPID", "in none");
        }
        if (mood == Mood::refusing) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "no");
        if (member == "Suspend") {
            int interactive = 1;
            sd_bus_message_read(message, "b", &interactive);
            call += interactive != 0 ? " interactively" : "";
        }
        return sd_bus_reply_method_return(message, nullptr);
    }

    test::PrivateBus bus_;
};

const Texts both{"org.freedesktop.login1", "org.freedesktop.ScreenSaver"};

class LogindTest : public testing::Test {
  protected:
    LogindTest() { setenv("XDG_SESSION_ID", "c7", 1); }
    ~LogindTest() override { unsetenv("XDG_SESSION_ID"); }

    SessionAnswer sleep() {
        LogindPower power(pool.executor(), 400ms);
        return loop.run([&]() -> Task<SessionAnswer> { co_return co_await power.sleep(); });
    }
    SessionAnswer lock() {
        LogindScreenLock screenLock(pool.executor(), 400ms);
        return loop.run([&]() -> Task<SessionAnswer> { co_return co_await screenLock.lock(); });
    }

    test::TestLoop loop;
    WorkerPool pool{2};
};

TEST_F(LogindTest, PutsTheMachineToSleepWithoutAskingForPasswords) {
    SessionServices services(both);
    EXPECT_EQ(sleep(), SessionAnswer::accepted);
    EXPECT_EQ(services.calls(), Texts{manager + "Suspend"});
    services.logind = Mood::refusing;
    EXPECT_EQ(sleep(), SessionAnswer::refused);
    services.logind = Mood::silent;
    EXPECT_EQ(sleep(), SessionAnswer::unavailable);
}

TEST_F(LogindTest, LocksTheSessionItIsIn) {
    SessionServices services(both);
    EXPECT_EQ(lock(), SessionAnswer::accepted);
    EXPECT_EQ(services.calls(), (Texts{manager + "GetSession c7", "/org/freedesktop/login1/session/c7 Lock"}));
    setenv("XDG_SESSION_ID", "gone", 1);
    EXPECT_EQ(lock(), SessionAnswer::accepted);
    EXPECT_EQ(services.calls().size(), 5U);
    EXPECT_EQ(services.calls().back(), "/org/freedesktop/login1/session/auto Lock");
    unsetenv("XDG_SESSION_ID");
    EXPECT_EQ(lock(), SessionAnswer::accepted);
    EXPECT_EQ(services.calls().at(5), manager + "GetSessionByPID");
}

TEST_F(LogindTest, LeavesTheLockToTheScreenSaverWhereLogindWillNot) {
    struct Case {
        Mood logind;
        Mood screenSaver;
        SessionAnswer answer;
    };
    for (const Case& one : {Case{Mood::refusing, Mood::obliging, SessionAnswer::accepted},
                            Case{Mood::silent, Mood::obliging, SessionAnswer::accepted},
                            Case{Mood::refusing, Mood::silent, SessionAnswer::refused},
                            Case{Mood::silent, Mood::refusing, SessionAnswer::refused},
                            Case{Mood::silent, Mood::silent, SessionAnswer::unavailable}}) {
        SessionServices services(both);
        services.logind = one.logind;
        services.screenSaver = one.screenSaver;
        EXPECT_EQ(lock(), one.answer) << static_cast<int>(one.logind) << static_cast<int>(one.screenSaver);
    }
}

TEST_F(LogindTest, NobodyOnTheBusIsNoRefusal) {
    SessionServices services(Texts{});
    EXPECT_EQ(sleep(), SessionAnswer::unavailable);
    EXPECT_EQ(lock(), SessionAnswer::unavailable);
}

TEST_F(LogindTest, ABusThatIsAbsentOrSilentIsGivenUpInTime) {
    auto silent = std::make_unique<test::SilentBus>();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(sleep(), SessionAnswer::unavailable) << i;
        EXPECT_EQ(lock(), SessionAnswer::unavailable) << i;
        silent.reset();
        for (const char* const variable : test::busVariables)
            setenv(variable, "unix:path=/nonexistent", 1);
    }
    for (const char* const variable : test::busVariables)
        unsetenv(variable);
}

}  // namespace
}  // namespace velmora
