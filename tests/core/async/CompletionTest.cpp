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
    /// Asks, and lets `meanwhile` happen before the task that asked goes on; what it got.
    std::string answer(const std::function<void()>& meanwhile, bool leavesCancellationToUs = false) {
        withdrawals = 0;
        running = loop.start(got, [this, leavesCancellationToUs]() -> Task<std::string> {
            const auto ask = [this](const Completion<std::string>& completion) { asked = completion; };
            const auto onCancel = [this] { ++withdrawals; };
            if (leavesCancellationToUs) co_return co_await Completion<std::string>::await(ask, onCancel);
            co_return co_await Completion<std::string>::await(ask);
        });
        loop.settle();
        meanwhile();
        loop.settle();
        return got;
    }

    test::TestLoop loop;
    std::optional<Completion<std::string>> asked;
    TaskHandle running;
    std::string got;
    int withdrawals = 0;
};

TEST_F(CompletionTest, TheFirstToSettleItDecides) {
    const auto failure = std::make_exception_ptr(std::runtime_error("broken"));
    const struct {
        const char* name;
        std::function<void()> meanwhile;
        const char* got;
    } cases[] = {
        {"a value", [&] { asked->fulfil("1"); }, "1"},
        {"a failure", [&] { asked->fail(failure); }, "broken"},
        {"two values", [&] { asked->fulfil("1"), asked->fail(failure); }, "1"},
        {"a copy of it goes", [&] { std::optional(asked).reset(), asked->fulfil("3"); }, "3"},
        {"all copies go", [&] { asked.reset(); }, "cancelled"},
        {"cancellation", [&] { running.cancel(), asked->fulfil("1"); }, "1"},
        {"cancellation first", [&] { running.cancel(), loop.settle(), asked->fulfil("1"); }, "cancelled"},
        {"value, then cancellation", [&] { asked->fulfil("1"), running.cancel(); }, "1"},
        {"never", [] {}, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(answer(one.meanwhile), one.got) << one.name;
}

TEST_F(CompletionTest, LeavesACancellationToWhoAsked) {
    EXPECT_EQ(answer([&] { running.cancel(); }, true), "") << "the wait goes on";
    EXPECT_EQ(withdrawals, 1);
    asked->fulfil("1");
    loop.settle();
    EXPECT_EQ(got, "1");
    EXPECT_EQ(answer([&] { asked->fulfil("2"), running.cancel(); }, true), "2");
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

TEST(Timeout, TheFirstToEndDecides) {
    test::TestLoop loop;
    test::ManualClock clock;
    std::optional<Completion<>> stubborn;
    std::string got;
    // Five seconds for work that takes `duration`.
    const auto begin = [&](std::chrono::seconds duration, bool fails = false, bool isStubborn = false) {
        const std::function<Task<std::string>()> work = [&, duration, fails, isStubborn]() -> Task<std::string> {
            const auto hold = [&](const Completion<>& end) { stubborn = end; };
            const auto ignore = [] {};
            if (isStubborn) co_await Completion<>::await(hold, ignore);
            if (duration > 0s) co_await clock.sleep(duration);
            if (fails) throw std::runtime_error("broken");
            co_return "done";
        };
        TaskHandle task = loop.start(got, [&, work]() -> Task<std::string> {
            co_return co_await withTimeout(clock, 5s, std::runtime_error("too late"), work);
        });
        loop.settle();
        return task;
    };
    const auto after = [&](std::chrono::seconds duration) {
        clock.advance(duration);
        loop.settle();
        return got;
    };
    begin(0s, true);
    EXPECT_EQ(got, "broken");
    begin(4s);
    EXPECT_EQ(after(4s), "done");
    begin(6s);
    EXPECT_EQ(after(4s), "");
    EXPECT_EQ(after(1s), "too late");
    begin(6s).cancel();
    EXPECT_EQ(after(0s), "cancelled");
    begin(0s, false, true);
    EXPECT_EQ(after(5s), "") << "what was cancelled has not ended";
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
