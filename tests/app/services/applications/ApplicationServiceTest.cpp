#include "app/services/applications/ApplicationService.h"

#include "app/services/applications/AppActions.h"
#include "platform/Runtime.h"
#include "tests/fakes/FakeApplicationIndexing.h"
#include "tests/fakes/FakeBundles.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

const ApplicationRecord browser{"Brave", "com.brave.Browser", "/Applications/Brave.app"};
const ApplicationRecord editor{"Editor", "org.example.editor", "/usr/share/applications/editor.desktop"};

class ApplicationServiceTest : public testing::Test {
  protected:
    void refresh() {
        loop.run([&]() -> Task<> { co_await service->refresh(); });
    }

    test::TestLoop loop;
    test::ManualClock clock;
    WorkerPool pool{1};
    test::FakeWorkspace workspace{clock};
    std::shared_ptr<test::FakeApplicationIndexing> indexer = std::make_shared<test::FakeApplicationIndexing>(clock);
    std::shared_ptr<ApplicationService> service =
        std::make_shared<ApplicationService>(loop.executor(), pool.executor(), clock, workspace, indexer,
                                             std::make_shared<test::FakeBundles>(), "/home/ann");
};

TEST_F(ApplicationServiceTest, KeepsTheCommandsOfApplicationsThatDidNotChange) {
    int changes = 0;
    const auto subscription = service->onIndexChange([&] { ++changes; });
    indexer->records = {browser, editor};
    refresh();
    const auto before = service->commands();
    refresh();
    EXPECT_EQ(service->commands(), before);
    EXPECT_EQ(changes, 2) << "every scan is reported";

    ApplicationRecord renamed = editor;
    renamed.name = "Another Editor";
    indexer->records = {renamed, browser};
    refresh();
    EXPECT_EQ(service->commands().at(0)->result({})->title, "Another Editor");
    EXPECT_EQ(service->commands().at(1), before[0]);
    indexer->fails = true;
    refresh();
    EXPECT_EQ(service->applications(), indexer->records) << "a failed scan leaves the list as it was";
    EXPECT_EQ(changes, 3);

    service.reset();
    const ResultPointer result = before[0]->result({});
    EXPECT_THROW(loop.run([&]() -> Task<> { co_await result->actions[0].execute(); }), Cancelled)
        << "a result may outlive the service";
}

TEST_F(ApplicationServiceTest, CallersJoinTheRunningScan) {
    indexer->delay = 1s;
    indexer->records = {browser};
    int returned = 0;
    const auto wait = [&]() -> Task<> {
        co_await service->refresh();
        EXPECT_EQ(service->applications().size(), 1);
        ++returned;
    };
    const TaskHandle first = spawn(loop.executor(), wait);
    const TaskHandle second = spawn(loop.executor(), wait);
    loop.settle();
    first.cancel();
    loop.settle();
    EXPECT_TRUE(first.done()) << "the one that started the scan need not wait for it";
    clock.advance(1s);
    loop.settle();
    EXPECT_EQ(returned, 1);
    EXPECT_EQ(indexer->begun, 1);
}

TEST_F(ApplicationServiceTest, RescansEveryMinuteUntilItIsDestroyed) {
    service->startMonitoring();
    loop.settle();
    indexer->delay = 10s;
    clock.advance(60s);
    loop.settle();
    EXPECT_EQ(indexer->begun, 1);
    const std::weak_ptr<ApplicationService> weak = service;
    service.reset();
    EXPECT_TRUE(weak.expired()) << "neither the watcher nor the scan holds the service";
    loop.settle();
    clock.advance(1h);
    loop.settle();
    EXPECT_EQ(indexer->begun, 1);
    EXPECT_EQ(indexer->completed, 0) << "the scan that was running is given up";
}

TEST_F(ApplicationServiceTest, ACancelledLaunchIsNoFailure) {
    workspace.delay = 1h;
    std::string outcome;
    const TaskHandle task = loop.start(outcome, [&]() -> Task<std::string> {
        co_await service->open("/Slow.app", {});
        co_return "opened";
    });
    loop.until([&] { return clock.sleeping() == 1; });
    task.cancel();
    loop.settle();
    EXPECT_EQ(outcome, "cancelled");
}

TEST(AppActionCatalog, KnowsApplicationsByTheirDesktopIds) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"com.google.Chrome", {"New Window", "New Incognito Window"}},
        {"org.chromium.Chromium", {"New Window", "New Incognito Window"}},
        {"microsoft-edge", {"New Window", "New InPrivate Window"}},
        {"firefox_firefox", {"New Window"}},
        {"code", {"New Window", "Diff Two Files"}},
        {"com.visualstudio.code", {"New Window", "Diff Two Files"}},
        {"com.google.chrome", {}},
        {"Code", {}},
        {"", {}},
    };
    for (const auto& [id, titles] : cases) {
        std::vector<std::string> listed;
        for (const AppLaunchAction& action : AppActionCatalog::actions(id))
            listed.push_back(action.title);
        EXPECT_EQ(listed, titles) << id;
    }
}

TEST(LaunchArguments, SplitsAtWhiteSpaceOutsideQuotes) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {" \t\n \"\" ''", {}},
        {"a\"b c\"d", {"ab cd"}},
        {"\"abc def", {"abc def"}},
        {"'say \"hi\"' \"it's\"", {"say \"hi\"", "it's"}},
        {R"(C:\temp\ x \")", {R"(C:\temp\)", "x", R"(\)"}},
        {"one\r\ntwo\u00a0three\u3000four", {"one", "two", "three", "four"}},
        {"x\"\u0301y", {"x\"\u0301y"}},  // a quotation mark with an accent is another character
        {"\xff\xfe a", {"\xff\xfe", "a"}},
    };
    for (const auto& [text, arguments] : cases)
        EXPECT_EQ(LaunchArguments::split(text), arguments) << text;
}

}  // namespace
}  // namespace velmora
