#include "platform/linux/posix/LowPriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmora {
namespace {

// As in <linux/ioprio.h>, which some kernels' headers have in a form that is no C++.
constexpr int ioprioWhoProcess = 1;
constexpr int ioprioClassBestEffort = 2;
constexpr int ioprioClassShift = 13;

}  // namespace

void lowerThreadPriority() noexcept {
    thread_local bool isLow = false;
    if (isLow) return;
    isLow = true;
    constexpr int niceness = 10;
    constexpr int lowestBestEffort = 7;
    // On Linux both apply to the calling thread alone. Refusals leave the priority as it is, which does no harm.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
    syscall(SYS_ioprio_set, ioprioWhoProcess, 0, ioprioClassBestEffort << ioprioClassShift | lowestBestEffort);
}

}  // namespace velmora
