#include "platform/linux/process/ResourceLimits.h"

#include <sys/resource.h>
#include <sys/time.h>

#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define VELMORA_RESERVES_MEMORY  // the sanitizer, more than there is anywhere
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMORA_RESERVES_MEMORY
#endif
#endif

namespace velmora {

void limitResources([[maybe_unused]] std::size_t memoryBytes) {
    constexpr rlim_t openFiles = 64;
    const auto limit = [](auto resource, rlim_t most) {
        const rlimit both{most, most};
        setrlimit(resource, &both);
    };
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_NOFILE, openFiles);
#ifndef VELMORA_RESERVES_MEMORY
    limit(RLIMIT_AS, memoryBytes);
#endif
}

void endProcessAfter(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const std::chrono::microseconds rest = time - seconds;
    const itimerval once{{}, {static_cast<time_t>(seconds.count()), static_cast<suseconds_t>(rest.count())}};
    setitimer(ITIMER_REAL, &once, nullptr);
}

}  // namespace velmora
