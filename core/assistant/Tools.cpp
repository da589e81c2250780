#include "core/assistant/Tools.h"

#include "core/AppError.h"
#include "core/Assert.h"

#include <algorithm>

namespace velmora {
namespace {

/// Whether `input` has every member that the schema requires, none of them null. Their types are the tool's business.
bool hasRequiredMembers(const JSONValue& schema, const JSONValue& input) {
    const JSONValue::Array* const required = schema["required"].array();
    return !required || std::ranges::all_of(*required, [&](const JSONValue& name) {
        return name.string() && input[*name.string()] != JSONValue(nullptr);
    });
}

}  // namespace

std::string_view rawValue(ToolPermission permission) {
    switch (permission) {
        case ToolPermission::read:
            return "read";
        case ToolPermission::write:
            return "write";
        case ToolPermission::destructive:
            return "destructive";
    }
    return "destructive";
}

std::optional<ToolPermission> toolPermission(std::string_view text) {
    for (const auto permission : {ToolPermission::read, ToolPermission::write, ToolPermission::destructive}) {
        if (rawValue(permission) == text) return permission;
    }
    return std::nullopt;
}

bool PermissionPolicy::requiresConfirmation(ToolPermission permission) const {
    switch (permission) {
        case ToolPermission::read:
            return false;
        case ToolPermission::write:
            return confirmWrites;
        case ToolPermission::destructive:
            break;
    }
    return true;
}

JSONValue ToolDefinition::toJSON() const {
    return JSONValue::Object{{"name", name},
                             {"description", description},
                             {"inputSchema", inputSchema},
                             {"permission", rawValue(permission)},
                             {"requiresApproval", requiresApproval}};
}

ToolDefinition ToolDefinition::fromJSON(const JSONValue& value) {
    const auto permission = toolPermission(decodeMember<std::string>(value, "permission"));
    if (!permission) throw JSONError("A permission is unknown.");
    return {decodeMember<std::string>(value, "name"), decodeMember<std::string>(value, "description"),
            decodeMember<JSONValue>(value, "inputSchema"), *permission, decodeMember<bool>(value, "requiresApproval")};
}

void ToolRegistry::registerTool(ToolPointer tool) {
    VELMORA_ASSERT_MAIN();
    const auto [place, added] = tools_.try_emplace(tool->definition().name, tool);
    if (!added) throw AppError::configuration("A tool with this name is already registered.");
}

void ToolRegistry::remove(std::string_view prefix) {
    VELMORA_ASSERT_MAIN();
    std::erase_if(tools_, [&](const auto& entry) { return entry.first.starts_with(prefix); });
}

std::vector<ToolDefinition> ToolRegistry::definitions() const {
    VELMORA_ASSERT_MAIN();
    std::vector<ToolDefinition> all;
    all.reserve(tools_.size());
    for (const auto& [name, tool] : tools_)
        all.push_back(tool->definition());
    return all;
}

Task<ToolResult> ToolRegistry::call(std::string name, JSONValue input) {
    VELMORA_ASSERT_MAIN();
    co_await throwIfCancelled();
    const auto found = tools_.find(name);
    if (found == tools_.end()) throw AppError::toolExecution("This tool is not available.");
    // The tool may be removed while its call waits.
    const ToolPointer tool = found->second;
    const ToolDefinition definition = tool->definition();
    if (!input.object()) throw AppError::toolExecution("Tool input must be a JSON object.");
    if (!hasRequiredMembers(definition.inputSchema, input)) {
        throw AppError::toolExecution("Required tool input is missing.");
    }
    if (definition.requiresApproval || policy.requiresConfirmation(definition.permission)) {
        co_await approve_(definition, input);
    }
    co_await throwIfCancelled();
    co_return co_await tool->execute(std::move(input));
}

}  // namespace velmora
