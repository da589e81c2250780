#include "platform/linux/session/ExitDeadline.h"

#include <unistd.h>

#include <condition_variable>
#include <mutex>

namespace velmora {

void ExitDeadline::start(std::chrono::milliseconds deadline, int exitCode) {
    thread_ = std::jthread([deadline, exitCode](const std::stop_token& calledOff) {
        std::mutex mutex;
        std::condition_variable_any wake;
        std::unique_lock lock(mutex);
        wake.wait_for(lock, calledOff, deadline, [] { return false; });
        if (!calledOff.stop_requested()) _exit(exitCode);  // what runs at exit could hang as well
    });
}

}  // namespace velmora
