#include "core/async/Async.h"

#include "core/async/Suspend.h"

#include <atomic>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <mutex>
#include <vector>

namespace asio = boost::asio;

namespace velmora {
namespace {

void (*unhandledTaskError)(const std::exception_ptr&) noexcept = nullptr;

/// The waiter around Asio's completion handler, which resumes the coroutine when it is called and destroys it when it
/// is dropped uncalled (as happens when an executor goes away).
template <class Handler>
class HandlerWaiter final : public detail::Waiter {
  public:
    explicit HandlerWaiter(Handler handler)
        : work_(asio::make_work_guard(asio::get_associated_executor(handler))), handler_(std::move(handler)) {}

    void resume() noexcept override {
        if (resumed_.exchange(true)) return;
        asio::post(work_.get_executor(), std::move(handler_));
        work_.reset();
    }

  private:
    asio::executor_work_guard<asio::associated_executor_t<Handler>> work_;
    Handler handler_;
    std::atomic<bool> resumed_{false};
};

}  // namespace

namespace detail {

Task<> suspend(const std::function<void(std::shared_ptr<Waiter>)>& park, std::function<void(Waiter&)> onCancel) {
    auto initiate = [&](auto handler) {
        const asio::cancellation_slot slot = asio::get_associated_cancellation_slot(handler);
        auto waiter = std::make_shared<HandlerWaiter<decltype(handler)>>(std::move(handler));
        if (slot.is_connected()) {
            auto mutableSlot = slot;
            mutableSlot.assign([weak = std::weak_ptr<Waiter>(waiter), onCancel](asio::cancellation_type) {
                if (const auto parked = weak.lock()) onCancel(*parked);
            });
        }
        park(std::move(waiter));
    };
    co_await asio::async_initiate<const asio::use_awaitable_t<>&, void()>(initiate, asio::use_awaitable);
}

struct TaskState {
    explicit TaskState(Executor where) : executor(std::move(where)) {}

    Executor executor;
    asio::cancellation_signal signal;  // emitted on `executor` only
    std::mutex mutex;
    bool done = false;
    std::vector<std::shared_ptr<Waiter>> waiters;

    void finish() {
        std::vector<std::shared_ptr<Waiter>> parked;
        {
            const std::lock_guard lock(mutex);
            done = true;
            parked.swap(waiters);
        }
        for (const auto& waiter : parked)
            waiter->resume();
    }
};

/// What Asio calls when a task has ended. A task that it drops instead, as happens when an executor goes away, has
/// ended too: whoever waits for it goes along.
///
/// Names the slot itself instead of being bound to it, because Asio emits signals to bound handlers by posting a piece
/// of work that nothing keeps the signal alive for.
class TaskEnd {
  public:
    using cancellation_slot_type = asio::cancellation_slot;

    explicit TaskEnd(const std::shared_ptr<TaskState>& state)
        : state_(state.get(), [state](TaskState* ended) { ended->finish(); }) {}

    [[nodiscard]] cancellation_slot_type get_cancellation_slot() const noexcept { return state_->signal.slot(); }

    void operator()(const std::exception_ptr& failure) const {
        if (!failure || !unhandledTaskError) return;
        try {
            std::rethrow_exception(failure);
        } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): a cancelled task ends quietly
        } catch (...) {
            unhandledTaskError(failure);
        }
    }

  private:
    std::shared_ptr<TaskState> state_;  // finishes it when the last of them goes
};

}  // namespace detail

Task<bool> isCancelled() {
    const auto state = co_await asio::this_coro::cancellation_state;
    co_return state.cancelled() != asio::cancellation_type::none;
}

Task<> throwIfCancelled() {
    const auto state = co_await asio::this_coro::cancellation_state;
    if (state.cancelled() != asio::cancellation_type::none) throw Cancelled{};
}

void TaskHandle::cancel() const {
    if (!state_ || done()) return;
    asio::dispatch(state_->executor, [state = state_] { state->signal.emit(asio::cancellation_type::terminal); });
}

bool TaskHandle::done() const {
    if (!state_) return true;
    const std::lock_guard lock(state_->mutex);
    return state_->done;
}

Task<> TaskHandle::finished() const {
    if (!state_) co_return;
    const auto state = state_;
    const std::function<void(std::shared_ptr<detail::Waiter>)> park = [&](std::shared_ptr<detail::Waiter> waiter) {
        {
            const std::lock_guard lock(state->mutex);
            if (!state->done) {
                state->waiters.push_back(std::move(waiter));
                return;
            }
        }
        waiter->resume();
    };
    co_await throwIfCancelled();
    co_await detail::suspend(park);
    co_await throwIfCancelled();
}

TaskHandle spawn(const Executor& executor, std::function<Task<>()> work) {
    auto state = std::make_shared<detail::TaskState>(executor);
    auto body = [work = std::move(work)]() -> Task<> {
        // Cancellation shows at our own waits, as `Cancelled`, and nowhere else.
        co_await asio::this_coro::throw_if_cancelled(false);
        co_await work();
    };
    asio::co_spawn(executor, std::move(body), detail::TaskEnd(state));
    return TaskHandle(state);
}

void setUnhandledTaskError(void (*handler)(const std::exception_ptr&) noexcept) {
    unhandledTaskError = handler;
}

Task<> Actor::perform(const std::function<void(std::stop_token)>& body) {
    struct Piece {
        std::stop_source stop;
        bool ran = false;
    };
    co_await throwIfCancelled();
    const auto piece = std::make_shared<Piece>();
    const std::function<void(std::shared_ptr<detail::Waiter>)> park = [&](std::shared_ptr<detail::Waiter> waiter) {
        // `body` outlives the piece: its owner stays suspended until `resume`.
        asio::post(strand_, [piece, &body, waiter = std::move(waiter)] {
            if (!piece->stop.stop_requested()) {
                piece->ran = true;
                body(piece->stop.get_token());
            }
            waiter->resume();
        });
    };
    const std::function<void(detail::Waiter&)> stop = [piece](detail::Waiter&) { piece->stop.request_stop(); };
    co_await detail::suspend(park, stop);
    if (!piece->ran) throw Cancelled{};
}

}  // namespace velmora
