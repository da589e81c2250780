#include "app/services/SystemService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeSession.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Kind = AppError::Kind;

class SystemServiceTest : public testing::Test {
  protected:
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace{clock};
    test::FakeSession session{clock};
    SystemService system{workspace, session, session, session, "/home/ann"};
};

TEST_F(SystemServiceTest, OpensFoldersOfTheUser) {
    for (const char* const path : {"~", "~/Downloads", "/Applications/", "~ann/x"})
        loop.run([&]() -> Task<> { co_await system.openDirectory(path); });
    EXPECT_EQ(workspace.opened,
              (std::vector<std::string>{"/home/ann", "/home/ann/Downloads", "/Applications", "~ann/x"}));
}

TEST_F(SystemServiceTest, PutsEveryRefusalIntoItsOwnWords) {
    struct Case {
        const char* what;
        Task<> (SystemService::*operation)();
        SessionAnswer answer;
        Kind kind;
        std::string sentence;
    };
    const std::string trash = "Finder could not empty the Trash. Check Automation permissions and try again.";
    const std::vector<Case> cases{
        {"sleep refused", &SystemService::sleep, SessionAnswer::refused, Kind::permission,
         "macOS did not allow this sleep request."},
        {"nobody to sleep", &SystemService::sleep, SessionAnswer::unavailable, Kind::permission,
         "Power management is unavailable."},
        {"lock refused", &SystemService::lockScreen, SessionAnswer::refused, Kind::permission,
         "Enable Velmora in System Settings → Privacy & Security → Accessibility to lock the screen."},
        {"nobody to lock", &SystemService::lockScreen, SessionAnswer::unavailable, Kind::toolExecution,
         "Could not create the lock-screen event."},
        {"trash not emptied", &SystemService::emptyTrash, SessionAnswer::refused, Kind::permission, trash},
    };
    const auto expectFailure = [&](const Case& one) {
        try {
            loop.run([&]() -> Task<> { co_await (system.*one.operation)(); });
            FAIL() << one.what << " without a word";
        } catch (const AppError& error) {
            EXPECT_EQ(error.what(), one.sentence) << one.what;
            EXPECT_EQ(error.kind(), one.kind) << one.what;
        }
    };
    for (const Case& one : cases) {
        session.answer = one.answer;
        expectFailure(one);
    }
    session.trashFails = true;
    expectFailure(cases.back());
}

TEST_F(SystemServiceTest, SaysThatTheFolderDidNotOpen) {
    workspace.fails = true;
    try {
        loop.run([&]() -> Task<> { co_await system.openDirectory("~"); });
        FAIL() << "opened nothing without a word";
    } catch (const AppError& error) {
        EXPECT_STREQ(error.what(), "Finder could not open this folder.");
        EXPECT_EQ(error.kind(), Kind::recoverable);
    }
}

}  // namespace
}  // namespace velmora
