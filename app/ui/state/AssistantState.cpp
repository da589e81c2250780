#include "app/ui/state/AssistantState.h"

#include "core/text/Text.h"

namespace velmora {

void AssistantState::begin(std::optional<Agent> agent) {
    const PaletteFeedback::Gathering gathering(*feedback_);
    feedback_->set(agent_, std::move(agent));
    feedback_->set(output_, std::make_shared<const std::string>());
    feedback_->set(status_, std::string());
}

void AssistantState::ask(const std::string& request) {
    if (text::trimmed(request).empty()) return;
    // Requests join with the assistant; until the user has enabled them there is only this to say.
    feedback_->showError("Enable AI Requests and save an API key in Settings → AI.");
}

std::string AssistantState::introduction() const {
    if (!agent_) {
        return "Describe an action, then press Return.\n\nTry: 帮我打开 Safari\n\nTool operations appear for approval "
               "when required.";
    }
    const std::string tools = agent_->tools.empty() ? "This Agent has no access to tools."
                                                    : "This Agent can use " + std::to_string(agent_->tools.size()) +
                                                          " selected tools. Permission approvals still apply.";
    return "Enter a request for " + agent_->name + ", then press Return.\n\n" + tools;
}

}  // namespace velmora
