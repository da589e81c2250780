#pragma once

#include "core/async/Async.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// A program to run to its end. There is no shell: arguments reach it as they are.
struct ChildProcessRequest {
    std::string executable;  ///< absolute
    std::vector<std::string> arguments;
    /// The most that it may write to standard output, in bytes; one that writes more is terminated. 0: whatever it
    /// writes there is thrown away.
    std::size_t outputLimit = 0;
};

/// How a program ended and what it wrote. Texts may hold any bytes.
struct ChildProcessEnding {
    int status = 0;  ///< 0 for success; a program that a signal ended has 128 and the signal's number
    std::string output;
    std::string errors;  ///< what it wrote to standard error: the first 4 KiB
    bool exceededLimit = false;
};

/// A started program, the leader of a process group of its own, without input and with a minimal environment.
///
/// Runs on: any thread. A program whose owner lets go of it lives on.
class ChildProcess {
  public:
    virtual ~ChildProcess() = default;

    /// Waits until it has ended and what it wrote has been read. A program that it leaves behind with its output open
    /// is not waited for. Cancelling the caller terminates the program; the wait goes on until it is gone.
    [[nodiscard]] virtual Task<ChildProcessEnding> ending() = 0;

    /// Asks its process group to end, and makes it after a grace, so that the wait ends in bounded time whatever the
    /// program does. Does nothing once it has ended.
    virtual void terminate() = 0;
};

/// Starts programs.
///
/// Runs on: any thread; the work is done elsewhere. Fails with: `std::exception` when there is nothing to start.
class ChildProcesses {
  public:
    virtual ~ChildProcesses() = default;

    [[nodiscard]] virtual Task<std::shared_ptr<ChildProcess>> start(ChildProcessRequest request) = 0;
};

}  // namespace velmora
