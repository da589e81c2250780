#pragma once

#include "core/async/Suspend.h"

#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace velmora {

namespace detail {

/// What a task waits for and what it is given. The first to settle it decides.
template <class T>
class CompletionState {
  public:
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    void settle(std::optional<Value> value, std::exception_ptr failure) {
        std::shared_ptr<Waiter> waiter;
        {
            const std::lock_guard lock(mutex_);
            if (std::exchange(settled_, true)) return;
            value_ = std::move(value);
            failure_ = std::move(failure);
            waiter = std::exchange(waiter_, nullptr);
        }
        if (waiter) waiter->resume();
    }

    void cancel() { settle(std::nullopt, std::make_exception_ptr(Cancelled{})); }

    [[nodiscard]] bool settled() const {
        const std::lock_guard lock(mutex_);
        return settled_;
    }

    void park(std::shared_ptr<Waiter> waiter) {
        {
            const std::lock_guard lock(mutex_);
            if (!settled_) {
                waiter_ = std::move(waiter);
                return;
            }
        }
        waiter->resume();
    }

    /// Once, after it was settled.
    Value take() {
        const std::exception_ptr failure = std::exchange(failure_, nullptr);
        if (failure) std::rethrow_exception(failure);
        return *std::move(value_);  // NOLINT(bugprone-unchecked-optional-access): set unless `failure` was
    }

  private:
    mutable std::mutex mutex_;
    bool settled_ = false;
    std::optional<Value> value_;
    std::exception_ptr failure_;
    std::shared_ptr<Waiter> waiter_;
};

}  // namespace detail

/// A promise for one value that a task waits for and a callback (of the toolkit, a bus, a pipe) fulfils: the way from
/// callbacks to tasks.
///
///   const auto ask = [&](const Completion<int>& answer) { dialog.onClose = [answer](int code) { answer.fulfil(code);
///   }; }; const int code = co_await Completion<int>::await(ask);
///
/// The first call of `fulfil` or `fail` counts, later ones do nothing. When the last copy goes without either, the task
/// that waits fails with `Cancelled`; it must therefore hold no copy itself.
///
/// Runs on: any thread. The task resumes on its own executor.
template <class T = void>
class Completion {
    using State = detail::CompletionState<T>;

  public:
    void fulfil() const requires std::is_void_v<T> { state_->settle(std::monostate{}, nullptr); }

    void fulfil(typename State::Value value) const requires(!std::is_void_v<T>) {
        state_->settle(std::move(value), nullptr);
    }

    void fail(std::exception_ptr failure) const { state_->settle(std::nullopt, std::move(failure)); }

    /// Calls `ask` with a new completion and waits until it is settled. A cancelled caller gets `Cancelled` at once,
    /// unless the value was there before: then it gets that.
    template <class Ask>
    static Task<T> await(Ask ask) {
        co_await throwIfCancelled();
        const auto state = std::make_shared<State>();
        ask(Completion(state));
        const auto giveUp = [state] { state->cancel(); };
        co_return co_await wait(state, giveUp);
    }

    /// The same, but leaves it to `onCancel` what a cancelled caller gets: it runs on the caller's executor and may
    /// withdraw the question, and the wait goes on until the completion is settled. A caller that was cancelled before
    /// asks all the same.
    template <class Ask, class OnCancel>
    static Task<T> await(Ask ask, OnCancel onCancel) {
        const auto state = std::make_shared<State>();
        ask(Completion(state));
        const bool cancelled = co_await isCancelled();
        if (cancelled && !state->settled()) onCancel();
        co_return co_await wait(state, onCancel);
    }

  private:
    explicit Completion(const std::shared_ptr<State>& state)
        : state_(state.get(), [state](State* dropped) { dropped->cancel(); }) {}

    template <class OnCancel>
    static Task<T> wait(std::shared_ptr<State> state, OnCancel onCancel) {
        const std::function<void(std::shared_ptr<detail::Waiter>)> park =
            [&state](std::shared_ptr<detail::Waiter> waiter) { state->park(std::move(waiter)); };
        const std::function<void(detail::Waiter&)> cancel = [&](detail::Waiter&) {
            if (!state->settled()) onCancel();
        };
        co_await detail::suspend(park, cancel);
        if constexpr (std::is_void_v<T>) {
            state->take();
        } else {
            co_return state->take();
        }
    }

    std::shared_ptr<State> state_;  // cancels when the last copy goes
};

}  // namespace velmora
