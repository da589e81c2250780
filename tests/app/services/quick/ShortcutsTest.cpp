#include "app/services/quick/Shortcuts.h"

#include "app/services/quick/ShortcutsCLI.h"
#include "core/AppError.h"
#include "tests/fakes/FakeChildProcesses.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

/// The service over the real command-line runner, whose programs are fake.
class ShortcutsTest : public testing::Test {
  protected:
    void wait(std::chrono::nanoseconds duration) {
        loop.settle();
        clock.advance(duration);
        loop.settle();
    }
    /// Lists afresh, with the tool ending as told; the names.
    Texts listed(int status, const std::string& output, const std::string& errors) {
        processes.result = {.end = {status, errors}, .output = output};
        clock.advance(301s);
        service->refresh();
        loop.settle();
        Texts names;
        for (const ShortcutItem& item : service->shortcuts())
            names.push_back(item.name);
        return names;
    }
    /// Begins to run a shortcut; what it fails with will be in `words`.
    TaskHandle begin() {
        return loop.start(words, [this]() -> Task<std::string> {
            co_await service->run("Make Tea");
            co_return "";
        });
    }
    /// Runs a shortcut for `duration`; what it failed with.
    std::string failureOfRun(std::chrono::nanoseconds duration = 0s) {
        const TaskHandle task = begin();
        wait(duration);
        EXPECT_TRUE(task.done());
        return words;
    }

    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeChildProcesses processes{clock};
    std::shared_ptr<ShortcutsCLI> cli =
        std::make_shared<ShortcutsCLI>(loop.executor(), clock, processes, Texts{"/nonexistent", "/bin/true"});
    std::shared_ptr<ShortcutsService> service = std::make_shared<ShortcutsService>(loop.executor(), clock, cli);
    int updates = 0;
    std::string words;
};

TEST_F(ShortcutsTest, ReadsTheNamesLineByLine) {
    struct Case {
        std::string output;
        Texts names;
        std::string status;
    };
    const std::vector<Case> cases{
        {"Make Tea\n\n \tResize Images \t\n", {"Make Tea", "Resize Images"}, "2 shortcuts"},
        {"\n\n \n\t\n", {}, "No shortcuts found"},
        {"", {}, "No shortcuts found"},
        {"b\na\nb", {"b", "a", "b"}, "3 shortcuts"},
        {"one\r\n", {"one\r"}, "1 shortcuts"},
        {"caf\xE9\n", {"caf\uFFFD"}, "1 shortcuts"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(listed(0, one.output, "noise"), one.names) << one.output;
        EXPECT_EQ(service->statusText(), one.status);
    }
    EXPECT_EQ(processes.lastCommand(), "/bin/true list");
}

TEST_F(ShortcutsTest, AFailedListingKeepsTheNames) {
    const auto subscription = service->onUpdate([this] { ++updates; });
    listed(0, "Make Tea\n", "");
    EXPECT_EQ(updates, 1);
    struct Case {
        int status;
        std::string output;
        std::string errors;
        std::string text;
    };
    const Case cases[] = {
        {1, "x\n", " \nno \xFF tea\n", "no \uFFFD tea"},
        {1, "x\n", " \n", "The shortcut did not complete."},
        {137, std::string(2'000'000, 'x'), "", "The list of shortcuts is too long."},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(listed(one.status, one.output, one.errors), Texts{"Make Tea"});
        EXPECT_EQ(service->statusText(), one.text);
    }
    processes.fails = true;
    EXPECT_EQ(listed(0, "", ""), Texts{"Make Tea"});
    EXPECT_EQ(service->statusText(), "The operation could not be completed. Please try again or check permissions.");
    EXPECT_EQ(updates, 1);
}

TEST_F(ShortcutsTest, ListsAtMostOnceInFiveMinutes) {
    const auto listings = [&](std::chrono::seconds later) {
        clock.advance(later);
        service->refresh();
        service->refresh();
        loop.settle();
        return processes.requests.size();
    };
    EXPECT_EQ(listings(0s), 1U);
    EXPECT_EQ(listings(300s), 1U);
    EXPECT_EQ(listings(1s), 2U);
    EXPECT_EQ(listings(-24h), 3U) << "a clock that was set back";
}

TEST_F(ShortcutsTest, LooksAgainFromTimeToTimeUntilStopped) {
    service->start();
    EXPECT_EQ(service->statusText(), "Loading shortcuts…");
    wait(0s);
    EXPECT_EQ(processes.requests.size(), 1U);
    wait(600s);
    EXPECT_EQ(processes.requests.size(), 2U);
    processes.duration = 10s;
    wait(600s);
    service->stop();
    wait(5s);
    EXPECT_EQ(processes.terminated, 1) << "the listing that was running";
    EXPECT_EQ(service->statusText(), "Loading shortcuts…") << "a cancellation changes nothing";
}

TEST_F(ShortcutsTest, RunsByNameAndPassesFailuresOn) {
    EXPECT_EQ(failureOfRun(), "");
    EXPECT_EQ(processes.lastCommand(), "/bin/true run Make Tea");
    EXPECT_FALSE(processes.requests.back().hasOutput) << "whatever it says there is nobody's concern";
    processes.result = {.end = {9, "The kettle is empty.\n"}, .output = ""};
    EXPECT_EQ(failureOfRun(), "The kettle is empty.");
    processes.duration = 179s;
    EXPECT_EQ(failureOfRun(179s), "The kettle is empty.");
    processes.fails = true;
    EXPECT_EQ(failureOfRun(), "no such program");
    processes.fails = false;
    processes.vanishes = true;
    EXPECT_EQ(failureOfRun(), "The shortcut did not return.");
}

TEST_F(ShortcutsTest, TerminatesWhatTakesTooLong) {
    processes.duration = 181s;
    EXPECT_EQ(failureOfRun(180s), "The shortcut timed out.");
    EXPECT_EQ(processes.terminated, 1);
    listed(0, "", "");
    wait(20s);
    EXPECT_EQ(service->statusText(), "The shortcut timed out.");
    EXPECT_EQ(processes.terminated, 2);
}

TEST_F(ShortcutsTest, CancellingARunTerminatesIt) {
    processes.duration = 1h;
    const TaskHandle task = begin();
    loop.settle();
    task.cancel();
    loop.settle();
    EXPECT_EQ(words, "cancelled");
    EXPECT_EQ(processes.terminated, 1);
}

}  // namespace
}  // namespace velmora
