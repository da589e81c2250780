#include "platform/linux/process/LinuxChildProcesses.h"

#include "platform/Runtime.h"
#include "platform/linux/posix/Descriptor.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <list>
#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;
using Child = std::shared_ptr<ChildProcess>;

constexpr std::size_t limit = 300'000;
constexpr auto grace = 300ms;

class LinuxChildProcessesTest : public testing::Test {
  protected:
    Child start(const Texts& arguments, ChildProcessRequest request = {.executable = VELMORA_MISBEHAVING_CHILD}) {
        request.arguments = arguments;
        return loop.run([&]() -> Task<Child> { co_return co_await processes.start(request); });
    }
    ChildProcessResult resultOf(const Child& child) {
        return loop.run([&]() -> Task<ChildProcessResult> { co_return co_await collect(child, limit, grace); });
    }
    ChildProcessResult run(const Texts& arguments) { return resultOf(start(arguments)); }
    int statusOf(const Child& child) {
        return loop.run([&]() -> Task<ChildProcessEnd> { co_return co_await child->finished(); }).status;
    }
    /// Waits until the program has become what it was told to be.
    void awaitReady() {
        loop.until([this] { return std::filesystem::remove(folder.path() + "/ready"); });
    }
    /// Writes to the program; `outcome` says how that went.
    TaskHandle write(const Child& child, const std::string& bytes) {
        return loop.start(outcome, [child, bytes]() -> Task<std::string> {
            co_await child->write(bytes);
            co_return "written";
        });
    }
    std::string outcomeOf(const TaskHandle& task) {
        loop.until([&] { return task.done(); });
        return outcome;
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{2};
    LinuxChildProcesses processes{pool.executor(), folder.path(), {300ms, 300ms}};
    std::string outcome;
};

TEST_F(LinuxChildProcessesTest, PassesArgumentsAndBringsBackOutputsAndStatus) {
    const auto result = run({"echo", "", "a b", "$HOME `id`", "; rm -rf *", "\xFF\n"});
    EXPECT_EQ(result.output, "[][a b][$HOME `id`][; rm -rf *][\xFF\n]");
    EXPECT_EQ(result.end.errors, "to the other side\n");
    EXPECT_EQ(result.end.status, 7);
    EXPECT_EQ(run({"signal"}).end.status, 128 + SIGKILL);
}

TEST_F(LinuxChildProcessesTest, KeepsTheProgramToItself) {
    setenv("SECRET_TOKEN", "not for children", 1);
    setenv("XDG_ACTIVATION_TOKEN", "nor this", 1);
    processes = LinuxChildProcesses(pool.executor(), folder.path());
    const std::string seen = run({"surroundings"}).output;
    EXPECT_TRUE(seen.starts_with("012 no input own group " + folder.path() + "\n")) << seen;
    EXPECT_EQ(seen.find("not for children"), std::string::npos);
    EXPECT_EQ(seen.find("nor this"), std::string::npos);
    EXPECT_NE(seen.find("\nPATH="), std::string::npos);
    const auto given =
        resultOf(start({"surroundings"}, {.executable = VELMORA_MISBEHAVING_CHILD, .environment = {{"A=b"}}}));
    EXPECT_EQ(given.output, "012 no input own group " + folder.path() + "\nA=b\n");
}

TEST_F(LinuxChildProcessesTest, RefusesWhatCannotRun) {
    for (const auto& [executable, argument] : std::vector<std::pair<std::string, std::string>>{
             {"/nonexistent", ""}, {"true", ""}, {folder.path(), ""}, {"/bin/true", std::string("a\0b", 3)}}) {
        EXPECT_ANY_THROW(start({argument}, {.executable = executable})) << executable;
    }
}

TEST_F(LinuxChildProcessesTest, BoundsWhatItKeepsAndIsNeverStuck) {
    const auto both = run({"both at once"});
    EXPECT_EQ(both.output.size(), 200'000U);
    EXPECT_EQ(both.end.errors.size(), 4096U);
    EXPECT_FALSE(both.exceededLimit);
    const auto flood = run({"flood"});
    EXPECT_TRUE(flood.exceededLimit);
    EXPECT_EQ(flood.output.size(), limit);
}

TEST_F(LinuxChildProcessesTest, HoldsTheWriterBackUntilItsWordsAreRead) {
    const Child child =
        start({"copy"}, {.executable = VELMORA_MISBEHAVING_CHILD, .hasInput = true, .errors = ErrorOutput::stream});
    std::string line(8'000'000, 'x');
    for (std::size_t i = 0; i < line.size(); i += 1000)
        line[i] = static_cast<char>('a' + i / 1000 % 26);
    const TaskHandle writing = write(child, line);
    for (int i = 0; i < 50; ++i) {
        std::this_thread::sleep_for(2ms);
        loop.settle();
    }
    EXPECT_EQ(outcome, "") << "nobody reads what comes back";
    std::string back;
    loop.run([&]() -> Task<> {
        while (back.size() < line.size())
            back += (co_await child->output().next()).value_or("?");
    });
    EXPECT_TRUE(back == line) << back.size();
    EXPECT_EQ(outcomeOf(writing), "written");
    child->closeInput();
    const auto words =
        loop.run([&]() -> Task<std::string> { co_return (co_await child->errors().next()).value_or("(end)"); });
    EXPECT_EQ(words, "end of input");
    EXPECT_EQ(statusOf(child), 0);
}

TEST_F(LinuxChildProcessesTest, ItsInputEndsWithTheProgramAndWithTheCaller) {
    const std::string large(1'000'000, 'x');
    const auto begin = [&](const char* mode) {
        Child child = start({mode}, {.executable = VELMORA_MISBEHAVING_CHILD, .hasInput = true});
        awaitReady();
        return child;
    };
    const std::string broken = "the program takes no input: Broken pipe";
    Child child = begin("deaf");
    EXPECT_EQ(outcomeOf(write(child, large)), broken);
    child->terminate(grace);

    child = begin("sleep");
    TaskHandle writing = write(child, large);
    loop.settle();
    writing.cancel();
    EXPECT_EQ(outcomeOf(writing), "cancelled");
    writing = write(child, large);
    child->terminate(grace);
    EXPECT_EQ(outcomeOf(writing), broken);
    EXPECT_EQ(statusOf(child), 128 + SIGTERM);
    EXPECT_EQ(outcomeOf(write(child, "x")), broken);
}

TEST_F(LinuxChildProcessesTest, TerminatesWhateverTheProgramDoes) {
    for (const Texts& mode : {Texts{"sleep"}, Texts{"stubborn"}, Texts{"flood errors"}, Texts{"leave stubborn"},
                              Texts{"leave apart"}, Texts{"flood"}}) {
        const auto began = std::chrono::steady_clock::now();
        const Child child = start(mode);
        awaitReady();
        child->terminate(grace);
        child->terminate(1h);
        EXPECT_NE(resultOf(child).end.status, 0) << mode[0];
        EXPECT_LT(std::chrono::steady_clock::now() - began, 5s) << mode[0] << ": the child itself gives up after 30";
        child->terminate(grace);
    }
}

TEST_F(LinuxChildProcessesTest, DoesNotWaitForWhatAProgramLeavesBehind) {
    for (const bool endsGroup : {false, true}) {
        const auto result =
            resultOf(start({"leave"}, {.executable = VELMORA_MISBEHAVING_CHILD, .endsGroup = endsGroup}));
        EXPECT_EQ(result.end.status, 0);
        // Its number, as long as it is there.
        const pid_t left = std::stoi(result.output);
        if (endsGroup) loop.until([left] { return kill(left, 0) != 0; });
        EXPECT_EQ(kill(left, SIGKILL), endsGroup ? -1 : 0);
    }
}

TEST_F(LinuxChildProcessesTest, CancellingTheCollectionTerminatesAndThatOfTheWaitDoesNot) {
    const Child child = start({"stubborn"});
    const auto cancelled = [&](std::function<Task<std::string>()> wait) {
        const TaskHandle waiting = loop.start(outcome, std::move(wait));
        loop.settle();
        waiting.cancel();
        return outcomeOf(waiting);
    };
    awaitReady();
    EXPECT_EQ(cancelled([&]() -> Task<std::string> { co_return (co_await child->finished()).errors; }), "cancelled");
    EXPECT_EQ(cancelled([&]() -> Task<std::string> { co_return (co_await collect(child, limit, grace)).output; }),
              "cancelled");
    EXPECT_EQ(statusOf(child), 128 + SIGKILL);
}

TEST_F(LinuxChildProcessesTest, LeavesNothingBehindWhereDescriptorsRunOut) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors for its own checks";
#endif
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{128, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    std::list<Descriptor> taken;
    while (taken.empty() || taken.back())
        taken.emplace_back(dup(STDERR_FILENO));
    int failures = 0;
    // One more is free at each attempt, so that every step of the start is the one that fails once.
    for (bool failed = true; failed && !taken.empty(); taken.pop_front()) {
        try {
            const Child child = start({"sleep"});
            child->terminate(0ms);
            statusOf(child);
            failed = false;
        } catch (const std::system_error&) {
            ++failures;
            EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << failures << ": a dead child is left";
            EXPECT_EQ(errno, ECHILD);
        }
    }
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_GT(failures, 3);
}

}  // namespace
}  // namespace velmora
