#pragma once

#include "app/services/quick/Shortcuts.h"
#include "platform/ChildProcess.h"

#include <string>
#include <vector>

namespace velmora {

/// Lists and runs shortcuts with a command-line tool that knows "list" and "run NAME".
///
/// Runs on: the main thread. Fails with: `AppError` (configuration) "The macOS Shortcuts command line tool is not
/// available." when there is none; (toolExecution) with what the tool wrote to standard error or "The shortcut did not
/// complete." when it fails, "The shortcut timed out." after 20 seconds of listing or 180 of running, and "The list of
/// shortcuts is too long." beyond 1 MiB.
class ShortcutsCLI final : public ShortcutRunning {
  public:
    /// `tools` are the absolute paths at which the tool may be, the best one first. The clock and the processes must
    /// outlive it and the tasks it started.
    ShortcutsCLI(Clock& clock, ChildProcesses& processes, std::vector<std::string> tools)
        : clock_(clock), processes_(processes), tools_(std::move(tools)) {}

    /// The names in the tool's order, white space around them and empty lines left out, repeated ones not.
    [[nodiscard]] Task<std::vector<std::string>> listNames() override;

    [[nodiscard]] Task<> run(std::string name) override;

  private:
    [[nodiscard]] Task<std::string> findTool() const;
    /// What the tool wrote to standard output, as UTF-8.
    [[nodiscard]] Task<std::string> execute(std::vector<std::string> arguments, std::size_t outputLimit,
                                            std::chrono::seconds timeout);

    Clock& clock_;
    ChildProcesses& processes_;
    std::vector<std::string> tools_;
};

}  // namespace velmora
