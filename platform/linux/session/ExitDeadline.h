#pragma once

#include <chrono>
#include <thread>

namespace velmora {

/// Ends the process when its orderly end takes too long: a look at a file system that no longer answers cannot be
/// called off.
///
/// Runs on: the main thread. Owns: a thread, from `start` until it is destroyed, which calls the exit off.
class ExitDeadline {
  public:
    /// The process ends with `exitCode` once `deadline` is over, whatever still hangs in it then. Call once.
    void start(std::chrono::milliseconds deadline, int exitCode);

  private:
    std::jthread thread_;
};

}  // namespace velmora
