#include "app/services/SystemService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeSession.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

class SystemServiceTest : public testing::Test {
  protected:
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace{clock};
    test::FakeSession session{clock};
    SystemService system{workspace, session, session, session, "/home/ann"};
};

TEST_F(SystemServiceTest, NoFailureIsSilent) {
    const auto failureOf = [&](const std::function<Task<>()>& work) -> std::string {
        try {
            loop.run([&]() -> Task<> { co_await work(); });
        } catch (const AppError& error) {
            return error.what();
        }
        return "";
    };
    const std::string trash = "Finder could not empty the Trash. Check Automation permissions and try again.";
    session.answer = SessionAnswer::refused;
    EXPECT_EQ(failureOf([&] { return system.emptyTrash(); }), trash);
    session.trashFails = true;
    EXPECT_EQ(failureOf([&] { return system.emptyTrash(); }), trash);
    session.answer = SessionAnswer::unavailable;
    EXPECT_EQ(failureOf([&] { return system.lockScreen(); }), "Could not create the lock-screen event.");
    workspace.fails = true;
    EXPECT_EQ(failureOf([&] { return system.openDirectory("~"); }), "Finder could not open this folder.");
}

TEST_F(SystemServiceTest, OpensFoldersOfTheUser) {
    for (const char* const path : {"~", "~/Downloads", "/Applications/", "~ann/x"})
        loop.run([&]() -> Task<> { co_await system.openDirectory(path); });
    EXPECT_EQ(workspace.opened,
              (std::vector<std::string>{"/home/ann", "/home/ann/Downloads", "/Applications", "~ann/x"}));
}

}  // namespace
}  // namespace velmora
