#pragma once

#include "core/async/Async.h"

#include <algorithm>
#include <chrono>

namespace velmora {

/// A point in time of the wall clock.
using TimePoint = std::chrono::system_clock::time_point;

/// Seconds since 1970-01-01 00:00:00 UTC with fractions, the form in which times are stored.
inline double secondsSince1970(TimePoint time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// The reverse. Times that a `TimePoint` cannot hold come out as the nearest one it can; not-a-number as 1970.
inline TimePoint timeFromSeconds(double seconds) {
    constexpr double limit = 9e9;  // the year 2255; nanoseconds in 64 bits end seven years later
    const double kept = seconds != seconds ? 0 : std::clamp(seconds, -limit, limit);
    return TimePoint(std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(kept)));
}

/// Time as the program sees it, so that tests can move it.
///
/// Runs on: any thread.
class Clock {
  public:
    virtual ~Clock() = default;

    /// The wall clock.
    [[nodiscard]] virtual TimePoint now() const = 0;

    /// Waits for at least `duration` of monotonic time. Throws `Cancelled` when the task is cancelled meanwhile.
    [[nodiscard]] virtual Task<> sleep(std::chrono::nanoseconds duration) = 0;
};

}  // namespace velmora
