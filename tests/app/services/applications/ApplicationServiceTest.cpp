#include "app/services/applications/ApplicationService.h"

#include "app/storage/AppLaunchRepository.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "tests/fakes/FakeApplicationIndexing.h"
#include "tests/fakes/FakeBundles.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Launch = test::FakeWorkspace::Launch;

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
    const ResultPointer result = before[0]->result({});
    refresh();
    EXPECT_EQ(service->commands(), before);
    EXPECT_EQ(service->commands()[0]->result({}), result);
    EXPECT_EQ(changes, 2) << "every scan is reported";

    ApplicationRecord renamed = editor;
    renamed.name = "Another Editor";
    indexer->records = {renamed, browser};
    clock.advance(5s);
    refresh();
    EXPECT_EQ(service->commands().at(0)->result({})->title, "Another Editor");
    EXPECT_EQ(service->commands().at(1), before[0]);
    EXPECT_EQ(service->lastRefresh(), clock.now());
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

TEST_F(ApplicationServiceTest, AFailedScanLeavesTheListAsItWas) {
    int changes = 0;
    const auto subscription = service->onIndexChange([&] { ++changes; });
    indexer->records = {browser};
    refresh();
    indexer->fails = true;
    refresh();
    EXPECT_EQ(service->applications(), indexer->records);
    EXPECT_EQ(changes, 1);
}

TEST_F(ApplicationServiceTest, RescansEveryMinuteUntilItIsDestroyed) {
    service->startMonitoring();
    loop.settle();
    clock.advance(60s);
    loop.settle();
    EXPECT_EQ(indexer->completed, 1);
    indexer->delay = 10s;
    clock.advance(60s);
    loop.settle();
    EXPECT_EQ(indexer->begun, 2);
    const std::weak_ptr<ApplicationService> weak = service;
    service.reset();
    EXPECT_TRUE(weak.expired()) << "neither the watcher nor the scan holds the service";
    loop.settle();
    indexer->delay = 0s;
    clock.advance(1h);
    loop.settle();
    EXPECT_EQ(indexer->begun, 2);
    EXPECT_EQ(indexer->completed, 1) << "the scan that was running is given up";
}

TEST_F(ApplicationServiceTest, RunsTheActionsOfAnApplication) {
    const test::TemporaryFolder folder;
    const std::string path = folder.write("brave-browser.desktop", "");
    indexer->records = {{"Brave", "brave-browser", path}};
    refresh();
    const ResultPointer result = service->commands().front()->result({});
    for (const CommandAction& action : result->actions)
        loop.run([&]() -> Task<> { co_await action.execute(); });
    EXPECT_EQ(workspace.launches, (std::vector<Launch>{{path, {}}, {path, {"--new-window"}}, {path, {"--incognito"}}}));
    workspace.fails = true;
    const auto open = [&]() -> Task<> { co_await result->actions[0].execute(); };
    EXPECT_THROW(loop.run(open), AppError);
    service.reset();
    EXPECT_THROW(loop.run(open), Cancelled) << "a result may outlive the service";
}

TEST_F(ApplicationServiceTest, SearchesNamesAndIdentifiers) {
    const ApplicationRecord other{"Édition", "org.example.pages", "/p.desktop"};
    const ApplicationRecord codec{"Zed Code", "org.edi", "/z.desktop"};
    indexer->records = {browser, other, editor, codec};
    refresh();
    EXPECT_EQ(service->search("EDI"), (std::vector{other, editor, codec})) << "names first, each kind in list order";
    EXPECT_EQ(service->search("application"), std::vector<ApplicationRecord>{});
    EXPECT_EQ(service->search(" ").size(), 4);
}

TEST_F(ApplicationServiceTest, ItsRecordsHaveAJSONForm) {
    const auto json = JSONValue::parse(R"({"name":"Brave","bundleIdentifier":"com.brave.Browser",
                                           "path":"/Applications/Brave.app"})");
    EXPECT_EQ(browser.toJSON(), json);
    EXPECT_EQ(ApplicationRecord::fromJSON(json), browser);
    const AppLaunchRecord launch{"/Applications/Brave.app", "--flag", 2, timeFromSeconds(1.5)};
    const auto stored =
        JSONValue::parse(R"({"appPath":"/Applications/Brave.app","arguments":"--flag","count":2,"lastUsed":1.5})");
    EXPECT_EQ(launch.toJSON(), stored);
    EXPECT_EQ(AppLaunchRecord::fromJSON(stored), launch);
}

TEST_F(ApplicationServiceTest, ACancelledLaunchIsNoFailure) {
    workspace.delay = 1h;
    bool cancelled = false;
    const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> {
        try {
            co_await service->open("/Slow.app", {});
        } catch (const Cancelled&) {
            cancelled = true;
        }
    });
    loop.until([&] { return clock.sleeping() == 1; });
    task.cancel();
    loop.settle();
    EXPECT_TRUE(cancelled);
}

}  // namespace
}  // namespace velmora
