#include "app/services/files/FileService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeDesktop.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

class FileServiceTest : public testing::Test {
  protected:
    [[nodiscard]] ResultPointer resultFor(const std::string& path) {
        return service->results({FileRecord{"report.pdf", path, false, 4, std::nullopt}}).front();
    }

    /// What running an action fails with, or nothing.
    std::string run(const ResultPointer& result, std::size_t action) {
        try {
            loop.run([&]() -> Task<> { co_await result->actions.at(action).execute(); });
        } catch (const AppError& error) {
            return error.what();
        }
        return {};
    }

    test::TestLoop loop;
    test::ManualClock clock;
    test::TemporaryFolder home;
    std::string file = home.write("report.pdf", "text");
    test::FakeWorkspace workspace{clock};
    test::FakePasteboard pasteboard;
    test::FakeMenu menu;
    test::FakeFolderPanel panel;
    std::shared_ptr<FileService> service =
        std::make_shared<FileService>(loop.executor(), workspace, pasteboard, menu, panel, home.path());
};

TEST_F(FileServiceTest, NoFailureIsSilent) {
    const auto result = resultFor("/nowhere/at all");
    const std::string gone = "This file no longer exists or is not accessible.";
    for (const std::size_t action : {0U, 1U, 2U})
        EXPECT_EQ(run(result, action), gone);
    EXPECT_TRUE(workspace.opened.empty() && workspace.revealed.empty() && menu.shown.empty());
    EXPECT_EQ(run(result, 3), "");
    EXPECT_EQ(pasteboard.text, "/nowhere/at all");
    pasteboard.refuses = true;
    EXPECT_EQ(run(result, 3), "Could not update the clipboard.");
    workspace.fails = true;
    EXPECT_EQ(run(resultFor(file), 0), "No application could open this file.");
}

TEST_F(FileServiceTest, OffersTheOtherApplications) {
    workspace.fileHandlers.defaultPath = "/apps/0.desktop";
    workspace.fileHandlers.all = {{"App 0", "/apps/0.desktop"}};
    const auto result = resultFor(file);
    EXPECT_EQ(run(result, 1), "No other application can open this file.");

    for (int i = 1; i <= 12; ++i)
        workspace.fileHandlers.all.push_back({"App " + std::to_string(i), "/apps/" + std::to_string(i) + ".desktop"});
    EXPECT_EQ(run(result, 1), "");
    ASSERT_EQ(menu.shown.size(), 1U);
    EXPECT_EQ(menu.shown[0].size(), 8U);
    EXPECT_EQ(menu.shown[0].front(), "App 1");
    EXPECT_TRUE(workspace.openedWith.empty()) << "the menu was dismissed";

    menu.choice = 2;
    EXPECT_EQ(run(result, 1), "");
    EXPECT_EQ(workspace.openedWith, (std::vector<test::FakeWorkspace::Launch>{{"/apps/3.desktop", {file}}}));
}

}  // namespace
}  // namespace velmora
