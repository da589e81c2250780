#pragma once

#include "platform/ChildProcess.h"
#include "platform/linux/posix/Descriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// A process that was just started, and our ends of its pipes. Nobody has waited for it yet.
struct SpawnedProcess {
    int process = 0;
    Descriptor handle;  ///< readable once the process has ended
    Descriptor input;   ///< none of these where the request asks for none; all of them non-blocking
    Descriptor output;
    Descriptor errors;

    /// Starts the program in a group of its own, with /dev/null for what has no pipe, no other descriptor than the
    /// three, default signals, and `environment` ("NAME=value"). Blocks; runs on: worker threads. Fails with:
    /// `std::system_error`, and then nothing runs.
    static SpawnedProcess start(const ChildProcessRequest& request, const std::string& folder,
                                const std::vector<std::string>& environment);
};

struct WriteResult {
    std::size_t written = 0;
    int error = 0;  ///< an error number; EAGAIN when the pipe is full
};

/// Writes as much as a pipe takes now. One that nobody reads is an error like any other and no signal.
WriteResult writeToPipe(int descriptor, std::string_view bytes);

/// What programs of the user's own need to know of the session, and nothing else.
std::vector<std::string> minimalEnvironment();

}  // namespace velmora
