#include "app/services/SystemService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeSession.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(SystemService, NoFailureIsSilent) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace{clock};
    test::FakeSession session{clock};
    SystemService system{workspace, session, session, session, "/home/ann"};
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
    workspace.fails = true;
    EXPECT_EQ(failureOf([&] { return system.openDirectory("~"); }), "Finder could not open this folder.");
}

}  // namespace
}  // namespace velmora
