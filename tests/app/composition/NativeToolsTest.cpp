#include "app/ai/NativeTools.h"

#include "app/services/applications/ApplicationService.h"
#include "core/AppError.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/FakeTool.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace velmora::test {
namespace {

using Object = JSONValue::Object;

/// The native tools as the program has them.
class NativeToolsTest : public testing::Test, protected FakePlatform {
  protected:
    NativeToolsTest() {
        for (const char* const application : {"/Apps/Music.app", "/Apps/Notes.app", "/Elsewhere/Evil.app"})
            std::filesystem::create_directories(home + application);
        bundles->folders = {home + "/Apps"};
        for (int i = 100; i < 220; ++i)
            disk.entries.insert(home + "/file " + std::to_string(i));
        disk.entries.insert(home + "/Documents/");
        disk.entries.insert(home + "/Documents/report.pdf");
        folder.write("Documents/report.pdf", "");
        childProcesses.result.output = "Tidy Up\nWalk\n";
        loop.run([&] { return services->start(); });
        loop.settle();
        loop.run([&] { return services->applications->refresh(); });
        childProcesses.result.output = "";
    }

    /// What the tool answers as JSON text, or what the call fails with. The user allows everything.
    std::string call(const std::string& tool, const JSONValue& input) {
        alerts.answers = {true};
        std::string outcome;
        const TaskHandle task = loop.start(outcome, [&]() -> Task<std::string> {
            const ToolResult result = co_await services->tools().call(tool, input);
            co_return result.value.encodedString();
        });
        loop.until([&] { return task.done(); });
        return outcome;
    }

    const std::string home = folder.path();
    std::shared_ptr<AppServices> services = makeServices();
};

TEST_F(NativeToolsTest, DoWhatTheySay) {
    const std::string music = home + "/Apps/Music.app";
    const std::string report = home + "/Documents/report.pdf";
    pasteboard.copyText("copied");
    const struct {
        std::string tool;
        JSONValue input;
        std::string outcome;
    } cases[] = {
        {"application.search", Object{{"query", "music"}},
         R"([{"bundleIdentifier":")" + music + R"(","name":"Music","path":")" + music + R"("}])"},
        {"application.search", Object{{"query", "qqqqqqq"}}, "[]"},
        {"application.open", Object{{"path", music}}, R"({"opened":true})"},
        {"application.open", Object{{"path", "~/Apps/Notes.app"}}, R"({"opened":true})"},
        {"application.open", Object{{"path", home + "/Elsewhere/Evil.app"}}, "Choose an installed application bundle."},
        {"filesystem.search", Object{{"query", "report"}, {"directory", "~/Documents"}},
         R"([{"isDirectory":false,"name":"report.pdf","path":")" + report + R"(","size":10}])"},
        {"filesystem.list", Object{{"directory", "~/Documents"}, {"sort", "name"}},
         R"([{"isDirectory":false,"modified":0,"name":"report.pdf","path":")" + report + R"(","size":10}])"},
        {"filesystem.open", Object{{"path", "~/Documents/report.pdf"}}, R"({"opened":true})"},
        {"filesystem.open", Object{{"path", report + std::string("\0.txt", 5)}},
         "This file no longer exists or is not accessible."},
        {"filesystem.reveal", Object{{"path", report}}, R"({"revealed":true})"},
        {"clipboard.read", Object{}, R"({"text":"copied"})"},
        {"clipboard.write", Object{{"text", "new"}}, R"({"copied":true})"},
        {"clipboard.write", Object{{"text", ""}}, "Missing or invalid input: text."},
        {"system.lock", Object{}, R"({"requested":true})"},
        {"shortcuts.list", Object{}, R"(["Tidy Up","Walk"])"},
        {"shortcuts.run", Object{{"name", "Walk"}}, R"({"ran":true})"},
    };
    for (const auto& [tool, input, outcome] : cases)
        EXPECT_EQ(call(tool, input), outcome) << tool << input.encodedString();
    EXPECT_EQ(workspace.launches, (std::vector<FakeWorkspace::Launch>{{music, {}}, {home + "/Apps/Notes.app", {}}}));
    EXPECT_EQ(workspace.opened, std::vector<std::string>{report});
    EXPECT_EQ(workspace.revealed, std::vector<std::string>{report});
    EXPECT_EQ(pasteboard.text, "new");
    EXPECT_EQ(childProcesses.lastCommand(), "/bin/true run Walk");
}

TEST_F(NativeToolsTest, TheClipboardCanRefuseBeEmptyAndTooLarge) {
    pasteboard.refuses = true;
    EXPECT_EQ(call("clipboard.write", Object{{"text", "x"}}), "Could not update the clipboard.");
    pasteboard.copy({});
    EXPECT_EQ(call("clipboard.read", Object{}), R"({"text":""})");
    pasteboard.copyText(std::string(1'000'000, 'x'));
    const std::size_t size = call("clipboard.read", Object{}).size();
    EXPECT_TRUE(size > AIRuntime::maximumOutputBytes && size < 300'000U) << "more than an answer may have, and no more";
}

TEST_F(NativeToolsTest, ListsAsManyAsAskedFor) {
    const std::pair<JSONValue, std::size_t> cases[] = {{nullptr, 20}, {"50", 20}, {0, 1},       {-1e300, 1},
                                                       {7.9, 7},      {500, 100}, {1e300, 100}, {NAN, 1}};
    for (const auto& [limit, count] : cases) {
        const JSONValue listed = JSONValue::parse(call("filesystem.list", Object{{"limit", limit}}));
        EXPECT_EQ(listed.array()->size(), count) << limit.number().value_or(-1);
    }
}

TEST_F(NativeToolsTest, AskWithTheWholeInputWhereTheUserWantsIt) {
    const auto confirmWrites = [&](bool confirm) {
        AppPreferences changed;
        changed.confirmToolWrites = confirm;
        loop.run([&] { return services->settings.save("preferences", changed); });
        loop.run([&] { return services->preferences.load(); });
    };
    confirmWrites(false);
    for (const char* const tool : {"application.search", "shortcuts.list", "filesystem.reveal", "clipboard.read"})
        call(tool, Object{{"query", "x"}, {"path", "/x"}});
    confirmWrites(true);
    call("filesystem.reveal", Object{{"path", "/x"}});
    EXPECT_EQ(alerts.asked, (std::vector<std::string>{
                                "AI wants to run clipboard.read|Read current text from the system clipboard; may "
                                "contain sensitive user data\n\n{\"path\":\"/x\",\"query\":\"x\"}",
                                "AI wants to run filesystem.reveal|Show a local file in Finder\n\n{\"path\":\"/x\"}"}));
    const JSONValue large = Object{{"aaa", std::string(3000, 'x')}, {"name", "Walk"}};
    call("shortcuts.run", large);
    const std::string shown = alerts.asked.back().substr(alerts.asked.back().find("\n\n") + 2);
    EXPECT_EQ(shown.size(), 1600U);
    EXPECT_EQ(shown + alerts.left, large.encodedString());
}

TEST_F(NativeToolsTest, ATakenNameFailsTheStart) {
    const auto fresh = makeServices();
    fresh->tools().registerTool(std::make_shared<FakeTool>("shortcuts.run"));
    EXPECT_THROW(loop.run([&] { return fresh->start(); }), AppError);
    EXPECT_EQ(fresh->tools().definitions().size(), 11U);
    EXPECT_EQ(&fresh->ai(), &fresh->ai());
}

}  // namespace
}  // namespace velmora::test
