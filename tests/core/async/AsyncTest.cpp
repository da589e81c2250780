#include "core/async/Async.h"

#include "core/Assert.h"
#include "core/async/Signal.h"
#include "core/async/Stream.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <boost/asio/thread_pool.hpp>

#include <latch>
#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::ManualClock;
using test::TestLoop;

class SpawnTest : public testing::Test {
  protected:
    TestLoop loop;
    ManualClock clock;
};

TEST_F(SpawnTest, CancelEndsAWaitQuietly) {
    enum class When { before, within, during };
    for (const When when : {When::before, When::within, When::during}) {
        TaskHandle task;
        task = spawn(loop.executor(), [&]() -> Task<> {
            if (when == When::within) task.cancel();
            EXPECT_EQ(co_await isCancelled(), when == When::within);
            co_await clock.sleep(1h);
            ADD_FAILURE() << "the wait of a cancelled task returned";
        });
        if (when != When::before) loop.settle();
        EXPECT_EQ(task.done(), when == When::within);
        task.cancel();
        loop.settle();
        EXPECT_TRUE(task.done()) << static_cast<int>(when);
    }
}

TEST_F(SpawnTest, ReportsExceptionsThatEscape) {
    static int reported;
    reported = 0;
    setUnhandledTaskError([](const std::exception_ptr&) noexcept { ++reported; });
    const TaskHandle broken = spawn(loop.executor(), []() -> Task<> {
        co_await throwIfCancelled();
        throw std::runtime_error("bug");
    });
    const TaskHandle cancelled = spawn(loop.executor(), []() -> Task<> {
        co_await throwIfCancelled();
        throw Cancelled{};
    });
    loop.settle();
    setUnhandledTaskError(nullptr);
    EXPECT_TRUE(broken.done() && cancelled.done());
    EXPECT_EQ(reported, 1);
}

TEST_F(SpawnTest, FinishedWakesEveryWaiterAndSurvivesTheirCancellation) {
    const TaskHandle work = spawn(loop.executor(), [&]() -> Task<> { co_await clock.sleep(1s); });
    int woken = 0;
    const auto wait = [&]() -> Task<> {
        co_await work.finished();
        ++woken;
    };
    spawn(loop.executor(), wait);
    spawn(loop.executor(), wait);
    const TaskHandle third = spawn(loop.executor(), wait);
    loop.settle();
    third.cancel();
    loop.settle();
    EXPECT_TRUE(third.done());
    EXPECT_FALSE(work.done()) << "cancelling a waiter must not cancel what it waits for";
    clock.advance(1s);
    loop.settle();
    EXPECT_EQ(woken, 2);
    loop.run(wait);
}

class ActorTest : public testing::Test {
  protected:
    TestLoop loop;
    boost::asio::thread_pool pool{4};
    Actor actor{pool.get_executor()};
    std::latch begun{1};
};

TEST_F(ActorTest, RunsOnePieceAtATimeAndReturnsToTheCallersThread) {
    int counter = 0;  // guarded by nothing but the actor
    int finished = 0;
    const auto here = std::this_thread::get_id();
    for (int i = 0; i < 200; ++i) {
        spawn(loop.executor(), [&]() -> Task<> {
            const auto where = co_await actor.run([&] {
                VELMORA_ASSERT(actor.isRunningHere());
                ++counter;
                return std::this_thread::get_id();
            });
            EXPECT_NE(where, here);
            EXPECT_EQ(std::this_thread::get_id(), here);
            ++finished;
        });
    }
    loop.until([&] { return finished == 200; });
    EXPECT_EQ(counter, 200);
}

TEST_F(ActorTest, CancellationSkipsQueuedWorkAndKeepsWhatHasBegun) {
    std::latch release(1);
    int result = 0;
    bool queuedRan = false;
    std::string outcome;
    const TaskHandle running = spawn(loop.executor(), [&]() -> Task<> {
        result = co_await actor.run([&] {
            begun.count_down();
            release.wait();
            return 42;
        });
    });
    const TaskHandle queued = loop.start(outcome, [&]() -> Task<std::string> {
        co_await actor.run([&] { queuedRan = true; });
        co_return "ran";
    });
    loop.settle();
    begun.wait();
    running.cancel();
    queued.cancel();
    loop.settle();
    EXPECT_FALSE(running.done()) << "its frame is in use by the work";
    release.count_down();
    loop.until([&] { return running.done() && queued.done(); });
    EXPECT_EQ(result, 42);
    EXPECT_FALSE(queuedRan);
    EXPECT_EQ(outcome, "cancelled");
}

TEST_F(ActorTest, TellsRunningWorkOfTheCancellation) {
    const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> {
        co_await actor.run([&](const std::stop_token& stop) {
            begun.count_down();
            while (!stop.stop_requested())
                std::this_thread::yield();
        });
    });
    loop.settle();
    begun.wait();
    task.cancel();
    loop.until([&] { return task.done(); });
}

TEST(Stream, HoldsTheWriterBackAndEndsWithTheReader) {
    TestLoop loop;
    auto ends = std::make_optional(makeStream<int>(2));
    auto reader = std::make_optional(std::move(ends->first));
    int written = 0;
    std::string outcome;
    loop.start(outcome, [&]() -> Task<std::string> {
        for (;; ++written)
            co_await ends->second.write(written);
    });
    loop.settle();
    EXPECT_EQ(written, 2) << "no more than the stream holds";
    EXPECT_EQ(loop.run([&]() -> Task<std::optional<int>> { co_return co_await reader->next(); }), 0);
    loop.settle();
    EXPECT_EQ(written, 3);
    reader.reset();
    loop.settle();
    EXPECT_EQ(outcome, "cancelled");
}

TEST(Stream, EndsAsTheWriterEnded) {
    const std::pair<const char*, std::function<void(StreamWriter<int>&)>> cases[] = {
        {"whole", [](StreamWriter<int>& writer) { writer.finish(); }},
        {"disk", [](StreamWriter<int>& writer) { writer.fail(std::make_exception_ptr(std::runtime_error("disk"))); }},
        {"cancelled", [](StreamWriter<int>&) {}},
    };
    for (const auto& [expected, end] : cases) {
        TestLoop loop;
        auto [stream, held] = makeStream<int>(4);
        auto writer = std::make_optional(std::move(held));
        loop.run([&]() -> Task<> { co_await writer->write(1); });
        end(*writer);
        writer.reset();
        const auto next = [&stream = stream]() -> Task<std::string> {
            const auto item = co_await stream.next();
            co_return item ? std::to_string(*item) : "whole";
        };
        // What was written before the end is not lost, and a failed stream never looks like a whole one.
        for (const std::string outcome : {"1", expected, expected}) {
            std::string got;
            loop.start(got, next);
            loop.settle();
            EXPECT_EQ(got, outcome);
        }
    }
}

TEST(Signal, ToleratesChangesWhileItCalls) {
    Signal<int> signal;
    std::vector<std::string> calls;
    Subscription second;
    Subscription late;
    const Subscription first = signal.subscribe([&](int) {
        calls.emplace_back("first");
        second.reset();
        late = signal.subscribe([&](int) { calls.emplace_back("late"); });
    });
    second = signal.subscribe([&](int) { calls.emplace_back("second"); });
    signal.emit(1);
    EXPECT_EQ(calls, std::vector<std::string>{"first"});
}

}  // namespace
}  // namespace velmora
