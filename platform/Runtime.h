#pragma once

#include "core/async/Clock.h"

#include <memory>

namespace velmora {

/// The threads on which actors do their blocking work.
///
/// Owns: its threads; destroying it stops it and drops what has not begun.
class WorkerPool {
  public:
    explicit WorkerPool(std::size_t threads);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    [[nodiscard]] Executor executor() const;

    /// Waits for what runs and drops what has not begun. The tasks that waited for it go on with `Cancelled`. Call it for
    /// every pool before the first one is destroyed.
    void stop();

  private:
    struct Threads;
    std::unique_ptr<Threads> threads_;
};

/// Lets the threads share their heaps, which leaves fewer gaps than one for each. Call before there are any.
void limitMallocArenas();

/// Gives memory that nothing is allocated in any more back to the system, where the C library would keep it for later.
/// Takes milliseconds. Runs on: any thread.
void returnFreeMemory();

/// The machine's own clocks. Waits are kept by one background thread; the waiting task resumes on its own executor.
class SystemClock final : public Clock {
  public:
    SystemClock();
    ~SystemClock() override;
    SystemClock(const SystemClock&) = delete;
    SystemClock& operator=(const SystemClock&) = delete;

    [[nodiscard]] TimePoint now() const override;
    /// The clock must outlive the waiting task, which holds a timer of it.
    [[nodiscard]] Task<> sleep(std::chrono::nanoseconds duration) override;

    /// Ends no wait any more.
    void stop();

  private:
    struct Timers;
    std::unique_ptr<Timers> timers_;
};

}  // namespace velmora
