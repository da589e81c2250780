#pragma once

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

/// What the benchmarks read: with VELMORA_MEASURE=1 in the environment, the moments of key presses, of requests to show
/// the palette and of finished paints on standard error; with VELMORA_MEASURE=loop, the times in which the main loop
/// came to nothing else. Silent otherwise.
namespace velmora::trace {

inline bool asksFor(std::string_view kind) {
    const char* const value = std::getenv("VELMORA_MEASURE");
    return value && value == kind;
}

inline bool enabled() {
    static const bool on = asksFor("1");
    return on;
}

/// One line "measure <what> <nanoseconds that it took>", whether or not `enabled`.
inline void duration(const char* what, long long nanoseconds) {
    std::fprintf(stderr, "measure %s %lld\n", what, nanoseconds);
}

/// One line "measure <what> <nanoseconds of the monotonic clock>".
inline void mark(const char* what) {
    if (!enabled()) return;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::fprintf(stderr, "measure %s %lld\n", what, static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
}

}  // namespace velmora::trace
