#include "platform/linux/LowPriority.h"

#include <linux/ioprio.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmora {

void lowerThreadPriority() noexcept {
    thread_local bool isLow = false;
    if (isLow) return;
    isLow = true;
    constexpr int niceness = 10;
    constexpr int lowestBestEffort = 7;
    // On Linux both apply to the calling thread alone. Refusals leave the priority as it is, which does no harm.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
    syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_BE, lowestBestEffort));
}

}  // namespace velmora
