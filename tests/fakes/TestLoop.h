#pragma once

#include "core/async/Async.h"

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmora::test {

/// The main thread of a test: an `io_context` that the test runs by hand. Make it before the worker pool, the system
/// clock and whatever else has a thread of its own: threads hand tasks back to it until they have ended.
class TestLoop {
  public:
    [[nodiscard]] Executor executor() { return context_.get_executor(); }

    /// Runs whatever is ready now, and what becomes ready by it. Work of other threads is not waited for.
    void settle() {
        context_.restart();
        context_.poll();
    }

    /// Runs until `condition` holds; fails the test after ten seconds.
    template <class Condition>
    void until(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the test waited in vain");
            context_.restart();
            context_.run_one_for(std::chrono::milliseconds(20));
        }
    }

    /// Runs a task to its end and returns its result or throws its failure.
    template <class Work>
    auto run(Work work) {
        using Result = typename decltype(work())::value_type;
        std::exception_ptr failure;
        std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
        const TaskHandle task = spawn(executor(), [&]() -> Task<> {
            try {
                if constexpr (std::is_void_v<Result>) {
                    co_await work();
                } else {
                    result.emplace(co_await work());
                }
            } catch (...) {
                failure = std::current_exception();
            }
        });
        until([&] { return task.done(); });
        if (failure) std::rethrow_exception(failure);
        if constexpr (!std::is_void_v<Result>) return std::move(*result);
    }

    /// Starts a task and says in `outcome` how it went: what it returned, or what it failed with; nothing until then.
    TaskHandle start(std::string& outcome, std::function<Task<std::string>()> work) {
        outcome = "";
        return spawn(executor(), [&outcome, work = std::move(work)]() -> Task<> {
            try {
                outcome = co_await work();
            } catch (const std::exception& failure) {
                outcome = failure.what();
            }
        });
    }

  private:
    boost::asio::io_context context_;
};

}  // namespace velmora::test
