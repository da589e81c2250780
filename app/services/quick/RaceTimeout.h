#pragma once

#include "core/AppError.h"
#include "core/async/Clock.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace velmora {

/// Runs `operation` against the clock, both on `executor`, and returns what it returns or fails with what it fails
/// with. When `timeout` is over first, `onTimeout` runs, the operation is cancelled, and this fails with `AppError`
/// (toolExecution) "The shortcut timed out." once it has ended. Cancelling the caller cancels both and waits for
/// neither.
template <class T>
Task<T> withRaceTimeout(Executor executor, Clock& clock, std::chrono::nanoseconds timeout,
                        std::function<Task<T>()> operation, std::function<void()> onTimeout) {
    struct Race {
        bool decided = false;
        std::optional<T> value;
        std::exception_ptr failure;
        TaskHandle operation;
        TaskHandle timer;

        /// True for the first to finish.
        bool decide(const TaskHandle& other) {
            if (std::exchange(decided, true)) return false;
            other.cancel();
            return true;
        }
    };
    const auto race = std::make_shared<Race>();
    race->operation = spawn(executor, [race, operation = std::move(operation)]() -> Task<> {
        std::optional<T> value;
        std::exception_ptr failure;
        try {
            value.emplace(co_await operation());
        } catch (...) {
            failure = std::current_exception();
        }
        if (!race->decide(race->timer)) co_return;
        race->value = std::move(value);
        race->failure = failure;
    });
    race->timer = spawn(executor, [race, &clock, timeout, onTimeout = std::move(onTimeout)]() -> Task<> {
        if (race->decided) co_return;  // an operation that never waits has ended by now
        co_await clock.sleep(timeout);
        if (!race->decide(race->operation)) co_return;
        race->failure = std::make_exception_ptr(AppError::toolExecution("The shortcut timed out."));
        onTimeout();
    });
    std::exception_ptr cancelled;
    try {
        co_await race->operation.finished();
        co_await race->timer.finished();
    } catch (...) {
        cancelled = std::current_exception();
    }
    // The tasks and the race refer to each other.
    const TaskHandle operationTask = std::exchange(race->operation, {});
    const TaskHandle timerTask = std::exchange(race->timer, {});
    if (cancelled) {
        operationTask.cancel();
        timerTask.cancel();
        std::rethrow_exception(cancelled);
    }
    if (race->failure) std::rethrow_exception(race->failure);
    std::optional<T> value = std::move(race->value);
    if (!value) throw AppError::toolExecution("The shortcut did not return.");
    co_return *std::move(value);
}

}  // namespace velmora
