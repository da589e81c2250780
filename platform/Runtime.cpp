#include "platform/Runtime.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <thread>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace asio = boost::asio;

namespace velmora {

struct WorkerPool::Threads {
    /// Lets go of what has not begun without going itself: what is let go of may belong to other pools and to this one.
    struct Pool : asio::thread_pool {
        using asio::thread_pool::thread_pool;
        using asio::execution_context::shutdown;
    };

    explicit Threads(std::size_t count) : pool(count) {}
    Pool pool;
};

WorkerPool::WorkerPool(std::size_t threads) : threads_(std::make_unique<Threads>(threads)) {}

WorkerPool::~WorkerPool() {
    stop();
}

void WorkerPool::stop() {
    threads_->pool.stop();
    threads_->pool.join();
    threads_->pool.shutdown();
}

Executor WorkerPool::executor() const {
    return threads_->pool.get_executor();
}

struct SystemClock::Timers {
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> work = asio::make_work_guard(context);
    std::thread thread{[this] { context.run(); }};
};

SystemClock::SystemClock() : timers_(std::make_unique<Timers>()) {}

SystemClock::~SystemClock() {
    stop();
}

void SystemClock::stop() {
    timers_->context.stop();
    if (timers_->thread.joinable()) timers_->thread.join();
}

TimePoint SystemClock::now() const {
    return std::chrono::system_clock::now();
}

Task<> SystemClock::sleep(std::chrono::nanoseconds duration) {
    co_await throwIfCancelled();
    asio::steady_timer timer(timers_->context, duration);
    boost::system::error_code ignored;  // the only failure is the cancellation that is looked at next
    co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    co_await throwIfCancelled();
}

void limitMallocArenas() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 2);
#endif
}

void returnFreeMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

}  // namespace velmora
