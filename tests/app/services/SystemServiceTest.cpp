#include "app/services/SystemService.h"

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
    const auto failureOf = [&](const std::function<Task<>()>& work) {
        std::string failure;
        const TaskHandle task = loop.start(failure, [&]() -> Task<std::string> {
            co_await work();
            co_return "";
        });
        loop.until([&] { return task.done(); });
        return failure;
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
