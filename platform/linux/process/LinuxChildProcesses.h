#pragma once

#include "platform/ChildProcess.h"

#include <chrono>
#include <string>
#include <vector>

namespace velmora {

/// Starts programs with `posix_spawn` and follows them with the worker pool's event loop: no thread waits for them.
class LinuxChildProcesses final : public ChildProcesses {
  public:
    struct Timeouts {
        std::chrono::milliseconds untilGivenUp{1000};  ///< for what even SIGKILL does not end at once
        /// For output that others hold open once the program itself has ended.
        std::chrono::milliseconds untilDrained{500};
    };

    /// Programs start in the folder `home`.
    LinuxChildProcesses(Executor pool, std::string home) : LinuxChildProcesses(std::move(pool), std::move(home), {}) {}
    LinuxChildProcesses(Executor pool, std::string home, Timeouts timeouts);

    [[nodiscard]] Task<bool> isExecutable(std::string path) override;
    [[nodiscard]] Task<std::shared_ptr<ChildProcess>> start(ChildProcessRequest request) override;

  private:
    Executor pool_;
    std::string home_;
    Timeouts timeouts_;
    std::vector<std::string> environment_;
};

}  // namespace velmora
