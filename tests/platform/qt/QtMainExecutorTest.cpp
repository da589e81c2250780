#include "platform/qt/QtMainExecutor.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QThread>
#include <atomic>
#include <boost/asio/post.hpp>
#include <thread>

namespace velmora {
namespace {

TEST(QtMainExecutorTest, RunsWhatAnyThreadPostsInOrderOnTheMainThread) {
    QtMainExecutor main;
    constexpr int threads = 4;
    constexpr int pieces = 2000;
    std::array<int, threads> seen{};
    int wrong = 0;
    bool ran = false;
    boost::asio::dispatch(main.executor(), [&] { ran = true; });
    EXPECT_FALSE(ran) << "nothing runs inside the post";
    std::vector<std::jthread> posters;
    for (std::size_t i = 0; i < threads; ++i) {
        posters.emplace_back([&, i] {
            for (int piece = 0; piece < pieces; ++piece) {
                // Work need not be copyable.
                boost::asio::post(main.executor(), [&, i, own = std::make_unique<int>(piece)] {
                    if (QThread::currentThread() != qApp->thread()) ++wrong;
                    if (seen[i]++ != *own) ++wrong;
                });
            }
        });
    }
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return std::all_of(seen.begin(), seen.end(), [](int n) { return n == pieces; }); }));
    EXPECT_EQ(wrong, 0);
}

TEST(QtMainExecutorTest, DropsWorkWhenItIsGone) {
    auto main = std::make_unique<QtMainExecutor>();
    const MainExecutor executor = main->executor();
    const auto alive = std::make_shared<int>();
    boost::asio::post(executor, [alive] { FAIL() << "nobody is there to run it"; });
    std::atomic<bool> stop{false};
    std::jthread poster([&] {
        while (!stop)
            boost::asio::post(executor, [alive] {});
    });
    main.reset();
    boost::asio::post(executor, [alive] { FAIL() << "nobody is there to run it"; });
    stop = true;
    poster.join();
    QCoreApplication::processEvents();
    EXPECT_EQ(alive.use_count(), 1) << "what is dropped is destroyed";
}

TEST(QtMainExecutorTest, TasksMayEndWhileTheyAreCancelled) {
    QtMainExecutor main;
    // One of these moments lies just before the end of the task, which then goes before the cancellation has come to
    // it.
    for (int moment = 0; moment < 10; ++moment) {
        TaskHandle task = spawn(main.executor(), []() -> Task<> { co_return; });
        int left = moment;
        bool cancelled = false;
        const std::function<void()> step = [&] {
            if (left-- > 0) return boost::asio::post(main.executor(), [&step] { step(); });
            std::exchange(task, {}).cancel();
            cancelled = true;
        };
        step();
        EXPECT_TRUE(QTest::qWaitFor([&] { return cancelled; }));
        QCoreApplication::processEvents();
    }
}

}  // namespace
}  // namespace velmora
