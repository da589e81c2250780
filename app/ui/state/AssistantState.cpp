#include "app/ui/state/AssistantState.h"

#include "app/composition/AppServices.h"
#include "core/text/Text.h"

#include <utility>

namespace velmora {
namespace {

using Gathering = PaletteFeedback::Gathering;

/// What the assistant said, of all that was said.
std::shared_ptr<const std::string> answerOf(const Conversation& conversation) {
    std::string answer;
    bool first = true;
    for (const Message& message : conversation.messages) {
        if (message.role != Message::Role::assistant) continue;
        if (!std::exchange(first, false)) answer += "\n\n";
        answer += message.content;
    }
    return std::make_shared<const std::string>(std::move(answer));
}

}  // namespace

AssistantState::AssistantState(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback,
                               std::shared_ptr<ActionRunner> runner)
    : services_(std::move(services)), feedback_(std::move(feedback)), runner_(std::move(runner)) {}

void AssistantState::begin(std::optional<Agent> agent) {
    const Gathering gathering(*feedback_);
    cancel();
    feedback_->set(agent_, std::move(agent));
    feedback_->set(output_, std::make_shared<const std::string>());
}

void AssistantState::ask(const std::string& request) {
    if (runner_->busy() || text::trimmed(request).empty()) return;
    const Gathering gathering(*feedback_);
    if (!services_->preferences.current().aiEnabled) {
        feedback_->showError("Enable AI Requests and save an API key in Settings → AI.");
        return;
    }
    feedback_->set(output_, std::make_shared<const std::string>());
    task_ = runner_->start([self = shared_from_this(), request, generation = ++generation_](ActionRunner::Busy busy) {
        return self->answer(std::move(busy), request, generation);
    });
}

void AssistantState::cancel() {
    ++generation_;
    task_.cancel();
    task_ = {};
    feedback_->set(status_, std::string());
}

Task<> AssistantState::answer(ActionRunner::Busy /*busy*/, std::string request, int generation) {
    std::exception_ptr failure;
    try {
        Conversation conversation = co_await converse(std::move(request), generation);
        // Cancelling does not stop an answer that is already on its way here.
        if (generation != generation_) co_return;
        feedback_->set(output_, answerOf(conversation));
        co_await services_->conversations.add(std::move(conversation));
    } catch (...) {
        failure = std::current_exception();
    }
    if (generation != generation_) co_return;
    const Gathering gathering(*feedback_);
    if (failure) feedback_->showFailure(failure);
    feedback_->set(status_, std::string());
}

Task<Conversation> AssistantState::converse(std::string request, int generation) {
    const std::optional<Agent> agent = agent_;
    const std::string model = agent ? agent->model : services_->preferences.current().model;
    const AIRuntime::Status showStatus = [this, generation](const std::string& line) {
        if (generation == generation_) feedback_->set(status_, line);
    };
    co_return co_await services_->ai().run(std::move(request), services_->modelProvider(model), agent, {}, showStatus);
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
