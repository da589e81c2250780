#pragma once

#include "core/async/Clock.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace velmora {

/// Does something again and again until it is stopped or destroyed. What it works for is held weakly: only for the
/// step that runs, and when it is gone, so is the repetition.
///
/// Runs on: one thread, that of the executor it is given.
class Repeater {
  public:
    Repeater() = default;
    ~Repeater() { stop(); }
    Repeater(const Repeater&) = delete;
    Repeater& operator=(const Repeater&) = delete;

    /// Waits `interval`, runs `step` to its end, and so on. Does nothing while it repeats already. `clock` must outlive
    /// the wait that stopping ends. `step` is a coroutine, which keeps its owner alive by its parameter for as long as
    /// it likes; it handles its own failures, and one that lets an exception out ends the repetition.
    template <class Owner>
    void start(const Executor& executor, Clock& clock, std::chrono::nanoseconds interval, std::weak_ptr<Owner> owner,
               std::function<Task<>(std::shared_ptr<Owner>)> step) {
        if (!task_.done()) return;
        task_ = spawn(executor, [&clock, interval, owner = std::move(owner), step = std::move(step)]() -> Task<> {
            for (;;) {
                co_await clock.sleep(interval);
                std::shared_ptr<Owner> alive = owner.lock();
                if (!alive) co_return;
                co_await step(std::move(alive));
            }
        });
    }

    /// A step that runs is cancelled; it may be started again at once.
    void stop() { std::exchange(task_, {}).cancel(); }

  private:
    TaskHandle task_;
};

}  // namespace velmora
