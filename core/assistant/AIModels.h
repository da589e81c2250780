#pragma once

#include "core/assistant/Tools.h"
#include "core/text/UUID.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The records of the assistant. Those that are stored have a JSON form: an object with the fields' names, all of which
/// must be there when it is read; reading fails with `JSONError`.
namespace velmora {

/// One thing said in a conversation.
struct Message {
    enum class Role { system, user, assistant, tool };

    Role role = Role::user;
    std::string content;                    ///< of a tool: what it answered
    std::optional<std::string> toolCallID;  ///< of a tool: which call it answered; absent from JSON when absent

    bool operator==(const Message&) const = default;

    [[nodiscard]] JSONValue toJSON() const;
    static Message fromJSON(const JSONValue& value);
};

/// "system", "user", "assistant" or "tool", the form in which a role is written.
std::string_view rawValue(Message::Role role);

/// The role with that raw value; nothing for any other text, letter case included.
std::optional<Message::Role> messageRole(std::string_view rawValue);

/// One operation that the model asks for.
struct ToolCall {
    std::string id;       ///< the provider's; comes back with the answer
    std::string name;     ///< of the tool
    JSONValue arguments;  ///< what the model wants it to get, of whatever case

    bool operator==(const ToolCall&) const = default;

    [[nodiscard]] JSONValue toJSON() const;
    static ToolCall fromJSON(const JSONValue& value);
};

/// What was said in one request, in its order. A new one has an identifier of its own.
struct Conversation {
    std::string id = newUUID();  ///< its identity
    std::vector<Message> messages;

    bool operator==(const Conversation&) const = default;

    [[nodiscard]] JSONValue toJSON() const;
    static Conversation fromJSON(const JSONValue& value);
};

/// One answer of the model.
struct ModelResponse {
    std::string text;                         ///< for the user; may be empty
    std::vector<ToolCall> toolCalls;          ///< in the provider's order
    std::optional<std::string> continuation;  ///< bytes that only the provider reads; goes back with the next request
};

/// A language model somewhere.
///
/// Runs on: any task. Must outlive the calls. Fails with: `AppError`; `Cancelled` as soon as its caller is cancelled.
class ModelProvider {
  public:
    virtual ~ModelProvider() = default;

    /// One step of a run: what is new since the last one, the tools that may be called, and the continuation of the
    /// last answer, absent in the first step.
    [[nodiscard]] virtual Task<ModelResponse> chat(std::vector<Message> messages, std::vector<ToolDefinition> tools,
                                                   std::optional<std::string> continuation) = 0;
};

/// A saved configuration of the assistant.
struct Agent {
    std::string id = newUUID();  ///< its identity
    std::string name = "New Agent";
    std::string icon = "sparkles";  ///< the symbol shown beside the name
    std::string systemPrompt;
    std::string model = "gpt-4.1-mini";
    std::vector<std::string> tools;   ///< names of the tools it may use
    std::vector<std::string> skills;  ///< paths of the skill files it uses

    bool operator==(const Agent&) const = default;

    [[nodiscard]] JSONValue toJSON() const;
    static Agent fromJSON(const JSONValue& value);
};

/// Instructions for agents, read from a file.
struct Skill {
    std::string name;
    std::string description;
    std::string instructions;
    std::string path;  ///< of the file, absolute; its identity

    bool operator==(const Skill&) const = default;

    [[nodiscard]] JSONValue toJSON() const;
    static Skill fromJSON(const JSONValue& value);
};

}  // namespace velmora
