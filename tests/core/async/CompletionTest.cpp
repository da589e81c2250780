#include "core/async/Completion.h"

#include "core/async/Repeater.h"
#include "core/async/Timeout.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <boost/asio/thread_pool.hpp>

#include <stdexcept>
#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class CompletionTest : public testing::Test {
  protected:
    /// Asks, and lets `meanwhile` happen before the task that asked goes on; what it got, or why it got nothing.
    std::string answer(const std::function<void()>& meanwhile) {
        const TaskHandle task = spawn(loop.executor(), [this]() -> Task<> {
            const auto ask = [this](const Completion<int>& completion) { asked = completion; };
            const auto onCancel = [this] { withdrawals++; };
            try {
                if (leavesCancellationToUs) {
                    got = std::to_string(co_await Completion<int>::await(ask, onCancel));
                } else {
                    got = std::to_string(co_await Completion<int>::await(ask));
                }
            } catch (const Cancelled&) {
                got = "cancelled";
            } catch (const std::runtime_error& error) {
                got = error.what();
            }
        });
        got = "nothing";
        withdrawals = 0;
        loop.settle();
        running = task;
        meanwhile();
        loop.settle();
        return got;
    }

    test::TestLoop loop;
    std::optional<Completion<int>> asked;
    TaskHandle running;
    std::string got;
    bool leavesCancellationToUs = false;
    int withdrawals = 0;
};

TEST_F(CompletionTest, TheFirstToSettleItDecides) {
    const auto failure = std::make_exception_ptr(std::runtime_error("broken"));
    const struct {
        const char* name;
        std::function<void()> meanwhile;
        const char* got;
    } cases[] = {
        {"a value", [&] { asked->fulfil(1); }, "1"},
        {"a failure", [&] { asked->fail(failure); }, "broken"},
        {"two values", [&] { asked->fulfil(1), asked->fulfil(2), asked->fail(failure); }, "1"},
        {"a copy of it goes", [&] { std::optional(asked).reset(), asked->fulfil(3); }, "3"},
        {"all copies go", [&] { asked.reset(); }, "cancelled"},
        {"cancellation", [&] { running.cancel(), asked->fulfil(1); }, "1"},
        {"cancellation first", [&] { running.cancel(), loop.settle(), asked->fulfil(1); }, "cancelled"},
        {"value, then cancellation", [&] { asked->fulfil(1), running.cancel(); }, "1"},
        {"never", [] {}, "nothing"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(answer(one.meanwhile), one.got) << one.name;
}

TEST_F(CompletionTest, LeavesACancellationToWhoAsked) {
    leavesCancellationToUs = true;
    EXPECT_EQ(answer([&] { running.cancel(); }), "nothing") << "the wait goes on";
    EXPECT_EQ(withdrawals, 1);
    asked->fulfil(1);
    loop.settle();
    EXPECT_EQ(got, "1");
    EXPECT_EQ(answer([&] { asked->fulfil(2), running.cancel(); }), "2");
    EXPECT_EQ(withdrawals, 0) << "there is nothing to withdraw";
}

TEST_F(CompletionTest, AnyThreadMayFulfilAndTheTaskGoesOnOnItsOwn) {
    boost::asio::thread_pool pool(2);
    const auto here = std::this_thread::get_id();
    const auto ask = [&](const Completion<int>& completion) {
        for (const int offered : {1, 2})
            boost::asio::post(pool, [completion, offered] { completion.fulfil(offered); });
    };
    loop.run([&]() -> Task<> {
        for (int i = 0; i < 500; ++i) {
            const int first = co_await Completion<int>::await(ask);
            EXPECT_TRUE(first == 1 || first == 2);
            EXPECT_EQ(std::this_thread::get_id(), here);
        }
    });
}

class TimeoutTest : public testing::Test {
  protected:
    /// Starts work that takes `duration` and may ignore its cancellation, with five seconds for it.
    TaskHandle begin(std::chrono::seconds duration, bool fails = false, bool isStubborn = false) {
        got = "nothing";
        const std::function<Task<int>()> work = [=, this]() -> Task<int> {
            const auto hold = [this](const Completion<>& end) { stubborn = end; };
            const auto ignore = [] {};
            if (isStubborn) co_await Completion<>::await(hold, ignore);
            if (duration > 0s) co_await clock.sleep(duration);
            if (fails) throw std::runtime_error("broken");
            co_return 7;
        };
        TaskHandle task = spawn(loop.executor(), [this, work]() -> Task<> {
            const std::runtime_error tooLate("too late");
            try {
                const int value = co_await withTimeout(clock, 5s, tooLate, work);
                got = std::to_string(value);
            } catch (const Cancelled&) {
                got = "cancelled";
            } catch (const std::runtime_error& error) {
                got = error.what();
            }
        });
        loop.settle();
        return task;
    }
    const std::string& after(std::chrono::seconds duration) {
        clock.advance(duration);
        loop.settle();
        return got;
    }

    test::TestLoop loop;
    test::ManualClock clock;
    std::string got;
    std::optional<Completion<>> stubborn;
};

TEST_F(TimeoutTest, TheFirstToEndDecides) {
    begin(0s);
    EXPECT_EQ(got, "7") << "without any wait";
    begin(0s, true);
    EXPECT_EQ(got, "broken");
    begin(4s);
    EXPECT_EQ(after(4s), "7");
    begin(6s);
    EXPECT_EQ(after(4s), "nothing");
    EXPECT_EQ(after(1s), "too late");
    begin(6s).cancel();
    EXPECT_EQ(after(0s), "cancelled");
    begin(0s, false, true);
    EXPECT_EQ(after(5s), "nothing") << "what was cancelled has not ended";
    stubborn->fulfil();
    EXPECT_EQ(after(0s), "too late") << "its value comes after the decision";
}

struct Worker : std::enable_shared_from_this<Worker> {
    Repeater repeater;
    int steps = 0;
};

TEST(Repeater, WaitsRunsAndWaitsAgainUntilStopped) {
    test::TestLoop loop;
    test::ManualClock clock;
    auto worker = std::make_shared<Worker>();
    const auto step = [&](std::shared_ptr<Worker> self) -> Task<> {
        ++self->steps;
        self.reset();  // which it may
        co_await clock.sleep(2s);
    };
    const auto start = [&] { worker->repeater.start<Worker>(loop.executor(), clock, 10s, worker, step); };
    const auto stepsAfter = [&](std::chrono::seconds duration) {
        loop.settle();
        clock.advance(duration);
        loop.settle();
        return worker ? worker->steps : 0;
    };
    start();
    start();
    EXPECT_EQ(stepsAfter(9s), 0);
    EXPECT_EQ(stepsAfter(1s), 1);
    EXPECT_EQ(stepsAfter(2s), 1);
    EXPECT_EQ(stepsAfter(9s), 1) << "the interval begins when a step has ended";
    EXPECT_EQ(stepsAfter(1s), 2);
    worker->repeater.stop();
    EXPECT_EQ(stepsAfter(1h), 2) << "stopped in the middle of a step";
    start();
    worker->repeater.stop();
    start();
    EXPECT_EQ(stepsAfter(10s), 3) << "started again at once";
    const std::weak_ptr<Worker> gone = worker;
    worker.reset();
    EXPECT_TRUE(gone.expired());
    stepsAfter(1h);
}

}  // namespace
}  // namespace velmora
