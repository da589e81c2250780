#pragma once

#include "core/async/Async.h"

/// How `core/async` puts a task to sleep. Everybody else waits with `Completion`, `Stream` and the rest.
namespace velmora::detail {

/// One suspended task. The first `resume` posts it back to its own executor; later calls do nothing. Any thread.
class Waiter {
  public:
    virtual ~Waiter() = default;
    virtual void resume() noexcept = 0;
};

/// Suspends the calling task and hands its waiter to `park`. When the task is cancelled meanwhile, `onCancel` runs on
/// the task's executor and decides whether to resume it (the default does). Returns in either case: the caller checks.
Task<> suspend(
    const std::function<void(std::shared_ptr<Waiter>)>& park,
    std::function<void(Waiter&)> onCancel = [](Waiter& waiter) { waiter.resume(); });

}  // namespace velmora::detail
