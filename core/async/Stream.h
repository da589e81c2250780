#pragma once

#include "core/async/Suspend.h"

#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace velmora {

namespace detail {

template <class T>
struct StreamState {
    explicit StreamState(std::size_t limit) : capacity(limit) {}

    const std::size_t capacity;
    std::mutex mutex;
    std::deque<T> items;
    bool ended = false;
    bool readerGone = false;
    std::exception_ptr failure;
    std::shared_ptr<Waiter> reader;
    std::shared_ptr<Waiter> writer;
};

/// Parks the calling task in `slot` unless `ready()` holds by then; both are looked at under the stream's lock.
template <class T, class Ready>
Task<> parkUnless(std::shared_ptr<StreamState<T>> state,  // NOLINT(performance-unnecessary-value-param): a coroutine
                  std::shared_ptr<Waiter> StreamState<T>::*slot, Ready ready) {
    const std::function<void(std::shared_ptr<Waiter>)> park = [&](std::shared_ptr<Waiter> waiter) {
        {
            const std::lock_guard lock(state->mutex);
            if (!ready()) {
                (*state).*slot = std::move(waiter);
                return;
            }
        }
        waiter->resume();
    };
    co_await suspend(park);
    co_await throwIfCancelled();
}

/// Takes the parked task out under the lock that the caller holds, so that it can be resumed after the lock is
/// released.
inline std::shared_ptr<Waiter> takeWaiter(std::shared_ptr<Waiter>& slot) {
    return std::exchange(slot, nullptr);
}

inline void resumeIfAny(const std::shared_ptr<Waiter>& waiter) {
    if (waiter) waiter->resume();
}

}  // namespace detail

/// The reading end of a bounded channel. Dropping it cancels the writer: its next `write` throws `Cancelled`.
///
/// Runs on: any task, one at a time.
template <class T>
class Stream {
  public:
    explicit Stream(std::shared_ptr<detail::StreamState<T>> state) : state_(std::move(state)) {}
    Stream(Stream&&) noexcept = default;
    Stream& operator=(Stream&&) = delete;
    ~Stream() {
        if (!state_) return;
        std::shared_ptr<detail::Waiter> writer;
        {
            const std::lock_guard lock(state_->mutex);
            state_->readerGone = true;
            state_->items.clear();
            writer = detail::takeWaiter(state_->writer);
        }
        detail::resumeIfAny(writer);
    }

    /// The next item, or nothing once the writer has finished and every item was read. Throws what the writer failed
    /// with (after the items it wrote), and `Cancelled` when the writer went away without finishing.
    [[nodiscard]] Task<std::optional<T>> next() {
        co_await throwIfCancelled();
        const auto state = state_;
        for (;;) {
            std::optional<T> item;
            std::shared_ptr<detail::Waiter> writer;
            {
                const std::lock_guard lock(state->mutex);
                if (!state->items.empty()) {
                    item.emplace(std::move(state->items.front()));
                    state->items.pop_front();
                    writer = detail::takeWaiter(state->writer);
                } else if (state->ended) {
                    if (state->failure) failure_ = std::exchange(state->failure, nullptr);
                    if (failure_) std::rethrow_exception(failure_);
                    co_return std::nullopt;
                }
            }
            detail::resumeIfAny(writer);
            if (item) co_return item;
            const auto ready = [raw = state.get()] { return !raw->items.empty() || raw->ended; };
            co_await detail::parkUnless(state, &detail::StreamState<T>::reader, ready);
        }
    }

  private:
    std::shared_ptr<detail::StreamState<T>> state_;
    std::exception_ptr failure_;  // the reader's alone, so that it is not destroyed on the writer's thread
};

/// The writing end. Destroying it without `finish` or `fail` makes the reader see `Cancelled`, so that half a stream is
/// never taken for a whole one.
///
/// Runs on: any task, one at a time.
template <class T>
class StreamWriter {
  public:
    explicit StreamWriter(std::shared_ptr<detail::StreamState<T>> state) : state_(std::move(state)) {}
    StreamWriter(StreamWriter&&) noexcept = default;
    StreamWriter& operator=(StreamWriter&&) = delete;
    ~StreamWriter() {
        if (state_) fail(std::make_exception_ptr(Cancelled{}));
    }

    /// Hands one item over, waiting while the stream is full. Throws `Cancelled` once the reader is gone.
    [[nodiscard]] Task<> write(T item) {
        co_await throwIfCancelled();
        const auto state = state_;
        std::shared_ptr<detail::Waiter> reader;
        for (;;) {
            {
                const std::lock_guard lock(state->mutex);
                if (state->readerGone) throw Cancelled{};
                if (state->items.size() < state->capacity) {
                    state->items.push_back(std::move(item));
                    reader = detail::takeWaiter(state->reader);
                    break;
                }
            }
            const auto ready = [raw = state.get()] { return raw->readerGone || raw->items.size() < raw->capacity; };
            co_await detail::parkUnless(state, &detail::StreamState<T>::writer, ready);
        }
        detail::resumeIfAny(reader);
    }

    /// Whether the next `write` would find nobody to read it. For writers that work long on one item.
    [[nodiscard]] bool isReaderGone() const {
        const std::lock_guard lock(state_->mutex);
        return state_->readerGone;
    }

    /// Ends the stream. Later calls of `finish` and `fail` do nothing.
    void finish() { end(nullptr); }

    /// Ends the stream with an error, which from then on belongs to the reader: call it after the `catch` that took it.
    void fail(std::exception_ptr failure) { end(std::move(failure)); }

  private:
    void end(std::exception_ptr failure) {
        std::shared_ptr<detail::Waiter> reader;
        {
            const std::lock_guard lock(state_->mutex);
            if (state_->ended) return;
            state_->ended = true;
            state_->failure = std::move(failure);
            reader = detail::takeWaiter(state_->reader);
        }
        detail::resumeIfAny(reader);
    }

    std::shared_ptr<detail::StreamState<T>> state_;
};

/// A stream that holds at most `capacity` unread items.
template <class T>
std::pair<Stream<T>, StreamWriter<T>> makeStream(std::size_t capacity) {
    auto state = std::make_shared<detail::StreamState<T>>(capacity);
    return {Stream<T>(state), StreamWriter<T>(state)};
}

}  // namespace velmora
