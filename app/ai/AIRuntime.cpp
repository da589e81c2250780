#include "app/ai/AIRuntime.h"

#include "core/AppError.h"
#include "core/Assert.h"

#include <algorithm>
#include <set>

namespace velmora {
namespace {

/// What the model is told before the request: the agent's own words and then its skills'.
std::string instructions(const Agent& agent, const std::vector<Skill>& skills) {
    std::set<std::string> resolved;
    for (const Skill& skill : skills)
        resolved.insert(skill.path);
    if (resolved != std::set<std::string>(agent.skills.begin(), agent.skills.end())) {
        throw AppError::configuration("Agent skills could not be resolved.");
    }
    std::string text = agent.systemPrompt;
    const char* separator = "\n\nSelected skill instructions:\n";
    for (const Skill& skill : skills)
        text += std::exchange(separator, "\n\n") + ("Skill: " + skill.name) + "\n" + skill.instructions;
    if (text.size() > AIRuntime::maximumInstructionBytes) {
        throw AppError::configuration("Agent instructions are too large.");
    }
    return text;
}

/// Of all tools those that the agent may use, which must be there.
std::vector<ToolDefinition> offeredTools(std::vector<ToolDefinition> all, const Agent& agent) {
    const std::set<std::string> wanted(agent.tools.begin(), agent.tools.end());
    std::erase_if(all, [&](const ToolDefinition& tool) { return !wanted.contains(tool.name); });
    if (all.size() != wanted.size()) {
        throw AppError::configuration("An Agent tool is unavailable. Connect its server or update the Agent.");
    }
    return all;
}

/// One run's tool calls.
class Calls {
  public:
    Calls(ToolRegistry& registry, const std::vector<ToolDefinition>& offered, const AIRuntime::Status& status)
        : registry_(registry), status_(status) {
        for (const ToolDefinition& tool : offered)
            offered_.insert(tool.name);
    }

    /// Runs them one after the other; what each answered.
    [[nodiscard]] Task<std::vector<Message>> answers(std::vector<ToolCall> calls) {
        if (calls.size() > AIRuntime::maximumCallsPerStep) {
            throw AppError::toolExecution("The model requested too many operations at once.");
        }
        std::vector<Message> messages;
        for (ToolCall& call : calls) {
            check(call);
            status_("Running " + call.name + "…");
            const ToolResult result = co_await registry_.call(call.name, std::move(call.arguments));
            std::string output = result.value.encodedString();
            if (output.size() > AIRuntime::maximumOutputBytes) {
                throw AppError::toolExecution("Tool output is too large to send to the model.");
            }
            messages.push_back({Message::Role::tool, std::move(output), std::move(call.id)});
        }
        co_return messages;
    }

  private:
    void check(const ToolCall& call) {
        if (!seen_.insert(call.id).second) {
            throw AppError::toolExecution("The model repeated an operation identifier.");
        }
        if (!offered_.contains(call.name)) {
            throw AppError::permission("This tool is not enabled for the current Agent.");
        }
    }

    ToolRegistry& registry_;
    const AIRuntime::Status& status_;
    std::set<std::string> offered_;
    std::set<std::string> seen_;
};

}  // namespace

Task<Conversation> AIRuntime::run(std::string query, std::shared_ptr<ModelProvider> provider,
                                  std::optional<Agent> agent, std::vector<Skill> skills, Status status) {
    VELMORA_ASSERT_MAIN();
    Conversation conversation;
    if (agent) conversation.messages.push_back({Message::Role::system, instructions(*agent, skills), std::nullopt});
    conversation.messages.push_back({Message::Role::user, std::move(query), std::nullopt});
    std::vector<ToolDefinition> offered = registry_.definitions();
    if (agent) offered = offeredTools(std::move(offered), *agent);
    Calls calls(registry_, offered, status);

    std::vector<Message> news = conversation.messages;
    std::optional<std::string> continuation;
    for (std::size_t step = 0; step < maximumSteps; ++step) {
        co_await throwIfCancelled();
        status("Thinking…");
        ModelResponse response = co_await provider->chat(std::move(news), offered, std::move(continuation));
        if (!response.text.empty()) {
            conversation.messages.push_back({Message::Role::assistant, std::move(response.text), std::nullopt});
        }
        if (response.toolCalls.empty()) co_return conversation;
        news = co_await calls.answers(std::move(response.toolCalls));
        conversation.messages.insert(conversation.messages.end(), news.begin(), news.end());
        continuation = std::move(response.continuation);
    }
    throw AppError::toolExecution("The AI reached its eight-step limit. Please narrow the request.");
}

}  // namespace velmora
