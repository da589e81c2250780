#pragma once

#include "core/async/Clock.h"
#include "core/async/Completion.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace velmora::test {

/// A clock that moves only when told to. Both the wall clock and the monotonic waits follow `advance`.
class ManualClock final : public Clock {
  public:
    [[nodiscard]] TimePoint now() const override {
        const std::lock_guard lock(mutex_);
        return now_;
    }

    [[nodiscard]] Task<> sleep(std::chrono::nanoseconds duration) override {
        co_await throwIfCancelled();
        const auto lieDown = [&](const Completion<>& awake) {
            const std::lock_guard lock(mutex_);
            sleepers_.push_back({now_ + duration, awake});
        };
        co_await Completion<>::await(lieDown);
        co_await throwIfCancelled();
    }

    void advance(std::chrono::nanoseconds duration) {
        const std::lock_guard lock(mutex_);
        now_ += duration;
        std::erase_if(sleepers_, [this](const Sleeper& sleeper) {
            if (sleeper.due > now_) return false;
            sleeper.awake.fulfil();
            return true;
        });
    }

    /// Waits that have not come due, cancelled ones included until they would have.
    [[nodiscard]] std::size_t sleeping() const {
        const std::lock_guard lock(mutex_);
        return sleepers_.size();
    }

  private:
    struct Sleeper {
        TimePoint due;
        Completion<> awake;
    };

    mutable std::mutex mutex_;
    TimePoint now_ = timeFromSeconds(1'700'000'000);
    std::vector<Sleeper> sleepers_;
};

}  // namespace velmora::test
