#pragma once

#include <time.h>

#include <cstdio>
#include <cstdlib>

/// What the benchmarks read: with VELMORA_MEASURE=1 in the environment, the moments of key presses, of requests to show
/// the palette and of finished paints on standard error. Silent otherwise.
namespace velmora::measure {

inline bool enabled() {
    static const bool on = [] {
        const char* const value = std::getenv("VELMORA_MEASURE");
        return value && *value == '1';
    }();
    return on;
}

/// One line "measure <what> <nanoseconds of the monotonic clock>".
inline void mark(const char* what) {
    if (!enabled()) return;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::fprintf(stderr, "measure %s %lld\n", what, static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
}

}  // namespace velmora::measure
