#include "platform/linux/LowPriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmora {

void lowerThreadPriority() noexcept {
    thread_local bool isLow = false;
    if (isLow) return;
    isLow = true;
    constexpr int niceness = 10;
    // The kernel's header for these does not compile as C++ everywhere.
    constexpr int thisThread = 1;                    // IOPRIO_WHO_PROCESS
    constexpr int lowestBestEffort = (2 << 13) | 7;  // IOPRIO_CLASS_BE
    // On Linux both apply to the calling thread alone. Refusals leave the priority as it is, which does no harm.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
    syscall(SYS_ioprio_set, thisThread, 0, lowestBestEffort);
}

}  // namespace velmora
