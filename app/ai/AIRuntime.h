#pragma once

#include "core/assistant/AIModels.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// Carries out one request: asks the model, runs the tools it asks for, tells it what they answered, and so on until
/// it asks for none. What bounds a run is here: steps, calls, sizes, and which tools are offered at all.
///
/// Runs on: the main thread. Keeps nothing between runs. The registry must outlive the runs. Fails with: `AppError`,
/// and with what the provider, the approval and the tools fail with; `Cancelled` when its task is cancelled. Tools that
/// have run by then are not undone.
class AIRuntime {
  public:
    static constexpr std::size_t maximumSteps = 8;
    static constexpr std::size_t maximumCallsPerStep = 8;
    static constexpr std::size_t maximumInstructionBytes = 200'000;
    static constexpr std::size_t maximumOutputBytes = 256'000;

    /// Told what the run is doing, as one line: "Thinking…", "Running filesystem.search…".
    using Status = std::function<void(const std::string& line)>;

    explicit AIRuntime(ToolRegistry& registry) : registry_(registry) {}

    /// The conversation of the whole run. `skills` are those of `agent`, in the order in which the model reads them;
    /// without an agent they are ignored, and all tools are offered.
    [[nodiscard]] Task<Conversation> run(std::string query, std::shared_ptr<ModelProvider> provider,
                                         std::optional<Agent> agent, std::vector<Skill> skills, Status status);

  private:
    ToolRegistry& registry_;
};

}  // namespace velmora
