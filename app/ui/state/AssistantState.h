#pragma once

#include "app/ui/state/ActionRunner.h"
#include "app/ui/state/PaletteFeedback.h"
#include "core/assistant/AIModels.h"

#include <memory>
#include <optional>
#include <string>

namespace velmora {

class AppServices;

/// The conversation of the AI mode: whom it is with, what was answered, how far the answer has come.
///
/// One request at a time, which counts as something that the palette runs. What an earlier one still has to say when it
/// was cancelled, or when the page was turned to another agent, is dropped.
///
/// Runs on: the main thread. Lives in a `shared_ptr`. Fails with: nothing; failures become the error line.
class AssistantState : public std::enable_shared_from_this<AssistantState> {
  public:
    AssistantState(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback,
                   std::shared_ptr<ActionRunner> runner);

    /// Cancels the request, forgets the last answer and turns to `agent`, or to the default assistant.
    void begin(std::optional<Agent> agent);

    /// Asks what was typed, if anything was and nothing is running.
    void ask(const std::string& request);

    /// Ends the request that is running, quietly.
    void cancel();

    [[nodiscard]] const std::optional<Agent>& agent() const { return agent_; }
    /// The answer; empty before there is one. It may be long, so it is handed on without a copy.
    [[nodiscard]] const std::shared_ptr<const std::string>& output() const { return output_; }
    /// One line about the request that is running; empty when there is none.
    [[nodiscard]] const std::string& status() const { return status_; }
    /// What is shown before any answer.
    [[nodiscard]] std::string introduction() const;

  private:
    [[nodiscard]] Task<> answer(ActionRunner::Busy busy, std::string request, int generation);
    [[nodiscard]] Task<Conversation> converse(std::string request, int generation);

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteFeedback> feedback_;
    std::shared_ptr<ActionRunner> runner_;
    std::optional<Agent> agent_;
    std::shared_ptr<const std::string> output_ = std::make_shared<const std::string>();
    std::string status_;
    TaskHandle task_;
    int generation_ = 0;  // of the request: what an earlier one says is dropped
};

}  // namespace velmora
