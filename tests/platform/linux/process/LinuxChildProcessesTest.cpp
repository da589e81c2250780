#include "platform/linux/process/LinuxChildProcesses.h"

#include "platform/Runtime.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr std::size_t limit = 300'000;

class LinuxChildProcessesTest : public testing::Test {
  protected:
    std::shared_ptr<ChildProcess> start(const Texts& arguments, std::size_t outputLimit = limit) {
        const ChildProcessRequest request{VELMORA_MISBEHAVING_CHILD, arguments, outputLimit};
        return loop.run([&]() -> Task<std::shared_ptr<ChildProcess>> { co_return co_await processes.start(request); });
    }
    ChildProcessEnding endingOf(const std::shared_ptr<ChildProcess>& child) {
        return loop.run([&]() -> Task<ChildProcessEnding> { co_return co_await child->ending(); });
    }
    /// Waits until the program has become what it was told to be.
    void awaitReady() {
        loop.until([this] { return std::filesystem::remove(folder.path() + "/ready"); });
    }
    ChildProcessEnding run(const Texts& arguments, std::size_t outputLimit = limit) {
        return endingOf(start(arguments, outputLimit));
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{2};
    LinuxChildProcesses processes{pool.executor(), folder.path(), {300ms, 300ms, 300ms}};
};

TEST_F(LinuxChildProcessesTest, PassesArgumentsAndBringsBackBothOutputs) {
    const auto ending = run({"echo", "", "a b", "$HOME `id`", "; rm -rf *", "\xFF\n"});
    EXPECT_EQ(ending.output, "[][a b][$HOME `id`][; rm -rf *][\xFF\n]");
    EXPECT_EQ(ending.errors, "to the other side\n");
    EXPECT_EQ(ending.status, 0);
}

TEST_F(LinuxChildProcessesTest, KeepsTheProgramToItself) {
    setenv("SECRET_TOKEN", "not for children", 1);
    setenv("XDG_ACTIVATION_TOKEN", "nor this", 1);
    const LinuxChildProcesses fresh(pool.executor(), folder.path());
    processes = fresh;
    const std::string seen = run({"surroundings"}).output;
    EXPECT_TRUE(seen.starts_with("012 no input own group " + folder.path() + "\n")) << seen;
    EXPECT_EQ(seen.find("not for children"), std::string::npos);
    EXPECT_EQ(seen.find("nor this"), std::string::npos);
    EXPECT_NE(seen.find("\nPATH="), std::string::npos);
}

TEST_F(LinuxChildProcessesTest, RefusesWhatCannotRun) {
    const auto startFails = [&](const std::string& executable, const Texts& arguments) {
        EXPECT_ANY_THROW(loop.run([&]() -> Task<> {
            ChildProcessRequest request{executable, arguments};
            co_await processes.start(std::move(request));
        })) << executable;
    };
    startFails("/nonexistent", {});
    startFails("true", {});
    startFails(folder.path(), {});
    startFails("/bin/true", {std::string("a\0b", 3)});
}

TEST_F(LinuxChildProcessesTest, SaysHowItEnded) {
    EXPECT_EQ(run({"fail", "why\n"}).status, 7);
    EXPECT_EQ(run({"fail", "why\n"}).errors, "why\n");
    EXPECT_EQ(run({"signal"}).status, 128 + SIGKILL);
}

TEST_F(LinuxChildProcessesTest, BoundsWhatItKeepsAndIsNeverStuck) {
    const auto both = run({"both at once"});
    EXPECT_EQ(both.output.size(), 200'000U);
    EXPECT_EQ(both.errors.size(), 4096U);
    EXPECT_FALSE(both.exceededLimit);
    const auto flood = run({"flood"});
    EXPECT_TRUE(flood.exceededLimit);
    EXPECT_EQ(flood.output.size(), limit);
    const auto dropped = run({"both at once"}, 0);
    EXPECT_EQ(dropped.output, "");
    EXPECT_FALSE(dropped.exceededLimit);
}

TEST_F(LinuxChildProcessesTest, TerminatesWhateverTheProgramDoes) {
    for (const Texts& mode : {Texts{"sleep"}, Texts{"stubborn"}, Texts{"flood errors"}, Texts{"leave stubborn"},
                              Texts{"leave apart"}, Texts{"flood"}}) {
        const auto began = std::chrono::steady_clock::now();
        const auto child = start(mode, 0);
        awaitReady();
        child->terminate();
        child->terminate();
        EXPECT_NE(endingOf(child).status, 0) << mode[0];
        EXPECT_LT(std::chrono::steady_clock::now() - began, 5s) << mode[0] << ": the child itself gives up after 30";
        child->terminate();
    }
}

TEST_F(LinuxChildProcessesTest, DoesNotWaitForWhatAProgramLeavesBehind) {
    const auto ending = run({"leave"});
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output, "done");
}

TEST_F(LinuxChildProcessesTest, CancellingTheWaitTerminates) {
    const auto child = start({"stubborn"});
    bool wasCancelled = false;
    const TaskHandle waiting = spawn(loop.executor(), [&]() -> Task<> {
        try {
            co_await child->ending();
        } catch (const Cancelled&) {
            wasCancelled = true;
        }
    });
    awaitReady();
    waiting.cancel();
    loop.until([&] { return waiting.done(); });
    EXPECT_TRUE(wasCancelled);
    EXPECT_NE(endingOf(child).status, 0);
}

}  // namespace
}  // namespace velmora
