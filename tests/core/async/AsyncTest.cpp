#include "core/async/Async.h"

#include "core/Assert.h"
#include "core/async/Signal.h"
#include "core/async/Stream.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <boost/asio/thread_pool.hpp>

#include <atomic>
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

TEST_F(SpawnTest, KeepsTheCallableAliveUntilItsTaskEnds) {
    auto token = std::make_shared<int>(7);
    int seen = 0;
    TaskHandle task;
    {
        auto work = [this, token, &seen]() -> Task<> {
            co_await clock.sleep(1s);
            seen = *token;
        };
        task = spawn(loop.executor(), work);
    }
    loop.settle();
    clock.advance(1s);
    loop.settle();
    EXPECT_TRUE(task.done());
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(token.use_count(), 1) << "the task's copy is released with it";
}

TEST_F(SpawnTest, CancelEndsAWaitQuietly) {
    for (const bool begun : {false, true}) {
        const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> {
            co_await clock.sleep(1h);
            ADD_FAILURE() << "the wait of a cancelled task returned";
        });
        if (begun) loop.settle();
        EXPECT_FALSE(task.done());
        task.cancel();
        loop.settle();
        EXPECT_TRUE(task.done()) << begun;
    }
}

TEST_F(SpawnTest, ATaskMayCancelItself) {
    TaskHandle task;
    bool reached = false;
    task = spawn(loop.executor(), [&]() -> Task<> {
        task.cancel();
        EXPECT_TRUE(co_await isCancelled());
        reached = true;
        co_await clock.sleep(1s);
        ADD_FAILURE() << "the wait of a cancelled task returned";
    });
    loop.settle();
    EXPECT_TRUE(reached);
    EXPECT_TRUE(task.done());
}

TEST_F(SpawnTest, ATaskThatGoesWithItsExecutorHasEnded) {
    auto other = std::make_unique<TestLoop>();
    const TaskHandle dropped = spawn(other->executor(), []() -> Task<> {
        ADD_FAILURE() << "nobody ran its executor";
        co_return;
    });
    const TaskHandle waiting = spawn(loop.executor(), [&]() -> Task<> { co_await dropped.finished(); });
    loop.settle();
    EXPECT_FALSE(waiting.done());
    other.reset();
    loop.settle();
    EXPECT_TRUE(dropped.done());
    EXPECT_TRUE(waiting.done());
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

TEST_F(ActorTest, PassesFailuresToTheCaller) {
    EXPECT_THROW(loop.run([&]() -> Task<> { co_await actor.run([] { throw std::out_of_range("x"); }); }),
                 std::out_of_range);
    EXPECT_EQ(loop.run([&]() -> Task<int> { co_return co_await actor.run([] { return 5; }); }), 5);
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
    enum class End { finish, fail, drop };
    for (const End end : {End::finish, End::fail, End::drop}) {
        TestLoop loop;
        auto [stream, held] = makeStream<int>(4);
        auto writer = std::make_optional(std::move(held));
        loop.run([&]() -> Task<> { co_await writer->write(1); });
        if (end == End::finish) writer->finish();
        if (end == End::fail) writer->fail(std::make_exception_ptr(std::runtime_error("disk")));
        writer.reset();
        const auto next = [&stream = stream]() -> Task<std::optional<int>> { co_return co_await stream.next(); };
        EXPECT_EQ(loop.run(next), 1) << "what was written before the end is not lost";
        switch (end) {
            case End::finish:
                EXPECT_EQ(loop.run(next), std::nullopt);
                break;
            case End::fail:
                EXPECT_THROW(loop.run(next), std::runtime_error);
                EXPECT_THROW(loop.run(next), std::runtime_error) << "a failed stream never looks like a whole one";
                break;
            case End::drop:
                EXPECT_THROW(loop.run(next), Cancelled);
                break;
        }
    }
}

TEST(Stream, CrossesThreads) {
    TestLoop loop;
    boost::asio::thread_pool pool(2);
    auto [stream, held] = makeStream<int>(3);
    auto writer = std::make_shared<StreamWriter<int>>(std::move(held));
    spawn(pool.get_executor(), [writer]() -> Task<> {
        for (int i = 1; i <= 2000; ++i)
            co_await writer->write(i);
        writer->finish();
    });
    int last = 0;
    loop.run([&stream = stream, &last]() -> Task<> {
        while (const auto item = co_await stream.next())
            EXPECT_EQ(*item, ++last);
    });
    EXPECT_EQ(last, 2000);
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
    calls.clear();
    late.reset();
    signal.emit(2);
    EXPECT_EQ(calls, std::vector<std::string>{"first"});
}

}  // namespace
}  // namespace velmora
