#include "core/assistant/AIModels.h"

#include "core/json/JSONRecord.h"

namespace velmora {

std::string_view rawValue(Message::Role role) {
    switch (role) {
        case Message::Role::system:
            return "system";
        case Message::Role::user:
            return "user";
        case Message::Role::assistant:
            return "assistant";
        case Message::Role::tool:
            return "tool";
    }
    return "user";
}

std::optional<Message::Role> messageRole(std::string_view text) {
    using enum Message::Role;
    for (const Message::Role role : {system, user, assistant, tool}) {
        if (rawValue(role) == text) return role;
    }
    return std::nullopt;
}

JSONValue Message::toJSON() const {
    JSONValue::Object members{{"role", rawValue(role)}, {"content", content}};
    if (toolCallID) members.emplace("toolCallID", *toolCallID);
    return members;
}

Message Message::fromJSON(const JSONValue& value) {
    const auto role = messageRole(decodeMember<std::string>(value, "role"));
    if (!role) throw JSONError("A role is unknown.");
    return {*role, decodeMember<std::string>(value, "content"), decodeOptionalMember<std::string>(value, "toolCallID")};
}

JSONValue ToolCall::toJSON() const {
    return JSONValue::Object{{"id", id}, {"name", name}, {"arguments", arguments}};
}

ToolCall ToolCall::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "id"), decodeMember<std::string>(value, "name"),
            decodeMember<JSONValue>(value, "arguments")};
}

JSONValue Conversation::toJSON() const {
    return JSONValue::Object{{"id", id}, {"messages", encodeJSON(messages)}};
}

Conversation Conversation::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "id"), decodeMember<std::vector<Message>>(value, "messages")};
}

JSONValue Agent::toJSON() const {
    return JSONValue::Object{{"id", id},
                             {"name", name},
                             {"icon", icon},
                             {"systemPrompt", systemPrompt},
                             {"model", model},
                             {"tools", encodeJSON(tools)},
                             {"skills", encodeJSON(skills)}};
}

Agent Agent::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "id"),
            decodeMember<std::string>(value, "name"),
            decodeMember<std::string>(value, "icon"),
            decodeMember<std::string>(value, "systemPrompt"),
            decodeMember<std::string>(value, "model"),
            decodeMember<std::vector<std::string>>(value, "tools"),
            decodeMember<std::vector<std::string>>(value, "skills")};
}

JSONValue Skill::toJSON() const {
    return JSONValue::Object{
        {"name", name}, {"description", description}, {"instructions", instructions}, {"path", path}};
}

Skill Skill::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "name"), decodeMember<std::string>(value, "description"),
            decodeMember<std::string>(value, "instructions"), decodeMember<std::string>(value, "path")};
}

}  // namespace velmora
