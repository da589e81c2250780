#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/strand.hpp>
#include <concepts>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace velmora {

/// A piece of asynchronous work. Nothing happens until it is awaited or spawned.
template <class T = void>
using Task = boost::asio::awaitable<T>;

/// Where work runs: the main thread's loop, the worker pool, a test's `io_context`.
using Executor = boost::asio::any_io_executor;

/// The executor of the main thread. A name only, so that signatures say which one they mean.
using MainExecutor = Executor;

/// Thrown out of a wait whose task was cancelled. Never shown to the user as a failure.
class Cancelled final : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "cancelled"; }
};

/// Whether the calling task has been cancelled.
Task<bool> isCancelled();

/// Throws `Cancelled` if the calling task has been cancelled.
Task<> throwIfCancelled();

namespace detail {

struct TaskState;

}  // namespace detail

/// A started task. Copies refer to the same task; dropping the handle lets the task run on.
///
/// Runs on: any thread. Fails with: nothing; what a task fails with is the task's own business (see `spawn`).
class TaskHandle {
  public:
    /// No task: `done()` is true, `cancel()` does nothing.
    TaskHandle() = default;
    explicit TaskHandle(std::shared_ptr<detail::TaskState> state) : state_(std::move(state)) {}

    /// Asks the task to stop: its present or next wait throws `Cancelled`.
    void cancel() const;

    [[nodiscard]] bool done() const;

    /// Waits until the task has ended, however it ended.
    [[nodiscard]] Task<> finished() const;

    explicit operator bool() const { return state_ != nullptr; }

  private:
    std::shared_ptr<detail::TaskState> state_;
};

/// Starts `work` on `executor`. The callable is kept alive until its task has ended: pass the callable, never the
/// result of calling it, or its captures die while the task runs. A task that is cancelled ends quietly; one that lets
/// another exception out is a bug, reported to the handler of `setUnhandledTaskError`.
TaskHandle spawn(const Executor& executor, std::function<Task<>()> work);

/// Sets what happens to an exception that a spawned task lets out. Call once at start-up.
void setUnhandledTaskError(void (*handler)(const std::exception_ptr&) noexcept);

/// Serialised state: runs blocking work one piece at a time on the shared worker pool.
///
///   auto rows = co_await actor.run([&] { return readRows(); });
///
/// The caller suspends until its piece has run and resumes on its own executor, so references into its frame stay
/// valid. A piece that has not begun when its caller is cancelled is skipped and `Cancelled` thrown; one that has begun
/// is waited for and its result kept. Work that takes a `std::stop_token` learns of the cancellation while it runs.
///
/// Runs on: `run` may be awaited from any task; the work itself runs on the pool.
class Actor {
    template <class Work>
    static auto call(Work& work, std::stop_token stop) {  // NOLINT(performance-unnecessary-value-param)
        if constexpr (std::invocable<Work&, std::stop_token>) {
            return work(std::move(stop));
        } else {
            return work();
        }
    }

  public:
    explicit Actor(const Executor& pool) : strand_(boost::asio::make_strand(pool)) {}

    template <class Work>
    auto run(Work work) -> Task<decltype(call(work, {}))> {
        using Result = decltype(call(work, {}));
        std::exception_ptr failure;
        if constexpr (std::is_void_v<Result>) {
            const std::function<void(std::stop_token)> body = [&](std::stop_token stop) {
                try {
                    call(work, std::move(stop));
                } catch (...) {
                    failure = std::current_exception();
                }
            };
            co_await perform(body);
            if (failure) std::rethrow_exception(failure);
        } else {
            std::optional<Result> result;
            const std::function<void(std::stop_token)> body = [&](std::stop_token stop) {
                try {
                    result.emplace(call(work, std::move(stop)));
                } catch (...) {
                    failure = std::current_exception();
                }
            };
            co_await perform(body);
            if (failure) std::rethrow_exception(failure);
            co_return std::move(*result);  // NOLINT(bugprone-unchecked-optional-access): set unless `failure` was
        }
    }

    /// For tasks that share the actor's state: what they do between two waits is one of its pieces.
    [[nodiscard]] Executor executor() const { return strand_; }

    /// True while the calling thread runs a piece of this actor's work.
    [[nodiscard]] bool isRunningHere() const { return strand_.running_in_this_thread(); }

  private:
    Task<> perform(const std::function<void(std::stop_token)>& body);

    boost::asio::strand<Executor> strand_;
};

}  // namespace velmora
