#pragma once

#include "core/async/Clock.h"

#include <boost/asio/this_coro.hpp>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace velmora {

/// What `work` returns or fails with. When `duration` is over first, `work` is cancelled, and this throws `error` once
/// it has ended, whatever it ended with. Cancelling the caller cancels `work` and does not wait for it.
///
/// Runs on: the caller's executor, which runs one thing at a time. `clock` must outlive the task.
template <class T, class Error>
Task<T> withTimeout(Clock& clock, std::chrono::nanoseconds duration, Error error, std::function<Task<T>()> work) {
    struct Race {
        std::optional<T> value;
        std::exception_ptr failure;
        bool ended = false;
        bool timedOut = false;
    };
    const auto race = std::make_shared<Race>();
    const Executor here = co_await boost::asio::this_coro::executor;
    const TaskHandle task = spawn(here, [race, work = std::move(work)]() -> Task<> {
        try {
            race->value.emplace(co_await work());
        } catch (...) {
            race->failure = std::current_exception();
        }
        race->ended = true;
    });
    const TaskHandle timer = spawn(here, [race, task, &clock, duration]() -> Task<> {
        if (race->ended) co_return;  // work that never waits
        co_await clock.sleep(duration);
        race->timedOut = !race->ended;
        task.cancel();
    });
    try {
        co_await task.finished();
        timer.cancel();
        co_await timer.finished();
    } catch (...) {
        task.cancel();
        timer.cancel();
        throw;
    }
    if (race->timedOut) throw error;
    const std::exception_ptr failure = std::exchange(race->failure, nullptr);
    if (failure) std::rethrow_exception(failure);
    std::optional<T> value = std::move(race->value);
    if (!value) throw Cancelled{};
    co_return *std::move(value);
}

}  // namespace velmora
