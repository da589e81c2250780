#include "app/services/SystemService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(SystemService, OpensFoldersOfTheUser) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    SystemService system(workspace, "/home/ann");
    for (const char* const path : {"~", "~/Downloads", "/Applications/", "~ann/x"})
        loop.run([&]() -> Task<> { co_await system.openDirectory(path); });
    EXPECT_EQ(workspace.opened,
              (std::vector<std::string>{"/home/ann", "/home/ann/Downloads", "/Applications", "~ann/x"}));
}

TEST(SystemService, SaysThatTheFolderDidNotOpen) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    workspace.fails = true;
    SystemService system(workspace, "/home/ann");
    try {
        loop.run([&]() -> Task<> { co_await system.openDirectory("~"); });
        FAIL() << "opened nothing without a word";
    } catch (const AppError& error) {
        EXPECT_STREQ(error.what(), "Finder could not open this folder.");
        EXPECT_EQ(error.kind(), AppError::Kind::recoverable);
    }
}

}  // namespace
}  // namespace velmora
