#pragma once

#include "platform/ChildProcess.h"
#include "platform/linux/posix/Descriptor.h"

#include <string>
#include <vector>

namespace velmora {

/// A process that was just started, and our ends of what it writes to. Nobody has waited for it yet.
struct SpawnedProcess {
    int process = 0;
    Descriptor handle;  ///< readable once the process has ended
    Descriptor output;
    Descriptor errors;

    /// Starts the program in a group of its own, with /dev/null for input, no other descriptor than the three, default
    /// signals, and `environment` ("NAME=value"). Blocks; runs on: worker threads. Fails with: `std::system_error`.
    static SpawnedProcess start(const ChildProcessRequest& request, const std::string& folder,
                                const std::vector<std::string>& environment);
};

/// What programs of the user's own need to know of the session, and nothing else.
std::vector<std::string> minimalEnvironment();

}  // namespace velmora
