#pragma once

#include "app/ui/state/PaletteFeedback.h"
#include "core/assistant/AIModels.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace velmora {

/// The conversation of the AI mode: whom it is with, what was answered, how far the answer has come.
///
/// Runs on: the main thread.
class AssistantState {
  public:
    explicit AssistantState(std::shared_ptr<PaletteFeedback> feedback) : feedback_(std::move(feedback)) {}

    /// Forgets the last answer and turns to `agent`, or to the default assistant.
    void begin(std::optional<Agent> agent);

    /// Asks what was typed, if anything was.
    void ask(const std::string& request);

    [[nodiscard]] const std::optional<Agent>& agent() const { return agent_; }
    /// The answer; empty before there is one. It may be long, so it is handed on without a copy.
    [[nodiscard]] const std::shared_ptr<const std::string>& output() const { return output_; }
    /// One line about the request that is running; empty when there is none.
    [[nodiscard]] const std::string& status() const { return status_; }
    /// What is shown before any answer.
    [[nodiscard]] std::string introduction() const;

  private:
    std::shared_ptr<PaletteFeedback> feedback_;
    std::optional<Agent> agent_;
    std::shared_ptr<const std::string> output_ = std::make_shared<const std::string>();
    std::string status_;
};

}  // namespace velmora
