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
        std::make_shared<ShortcutsCLI>(clock, processes, Texts{"/nonexistent", "/bin/true"});
    std::shared_ptr<ShortcutsService> service = std::make_shared<ShortcutsService>(loop.executor(), clock, cli);
    std::string words;
};

TEST_F(ShortcutsTest, ReadsTheNamesLineByLine) {
    EXPECT_EQ(listed(0, "b\n\n \tResize Images \t\n", "noise"), (Texts{"b", "Resize Images"}));
    EXPECT_EQ(service->statusText(), "2 shortcuts");
    EXPECT_EQ(listed(0, "b\ncaf\xE9", ""), (Texts{"b", "caf\uFFFD"}));
    EXPECT_EQ(listed(0, "\n \n", ""), Texts{});
    EXPECT_EQ(service->statusText(), "No shortcuts found");
    EXPECT_EQ(processes.lastCommand(), "/bin/true list");
}

TEST_F(ShortcutsTest, AFailedListingKeepsTheNames) {
    listed(0, "Make Tea\n", "");
    EXPECT_EQ(listed(1, "x\n", " \nno \xFF tea\n"), Texts{"Make Tea"});
    EXPECT_EQ(service->statusText(), "no \uFFFD tea");
    EXPECT_EQ(listed(137, std::string(2'000'000, 'x'), ""), Texts{"Make Tea"});
    EXPECT_EQ(service->statusText(), "The list of shortcuts is too long.");
}

TEST_F(ShortcutsTest, LooksAgainFromTimeToTimeUntilStopped) {
    service->start();
    loop.settle();
    clock.advance(300s);
    service->refresh();
    loop.settle();
    EXPECT_EQ(processes.requests.size(), 1U) << "no more than once in five minutes";
    wait(300s);
    EXPECT_EQ(processes.requests.size(), 2U);
    processes.duration = 10s;
    wait(600s);
    service->stop();
    wait(5s);
    EXPECT_EQ(processes.terminated, 1) << "the listing that was running";
    EXPECT_EQ(service->statusText(), "Loading shortcuts…") << "a cancellation changes nothing";
}

TEST_F(ShortcutsTest, PassesFailuresOn) {
    processes.result = {.end = {9, "The kettle is empty.\n"}, .output = ""};
    EXPECT_EQ(failureOfRun(), "The kettle is empty.");
    EXPECT_EQ(processes.lastCommand(), "/bin/true run Make Tea");
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
