#include "app/services/PermissionService.h"

#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

namespace velmora {
namespace {

constexpr std::size_t shownCharacters = 1600;

/// Without any where the value has no JSON form.
std::string jsonText(const JSONValue& value) {
    try {
        return value.encodedString();
    } catch (const JSONError&) {
        return "";
    }
}

}  // namespace

Task<> PermissionService::ask(Confirmation confirmation) {
    VELMORA_ASSERT_MAIN();
    const bool allowed = co_await alerts_.confirm(std::move(confirmation));
    if (!allowed) throw AppError::permission("The operation was cancelled.");
}

Task<> PermissionService::confirm(std::string title, std::string detail) {
    return ask({std::move(title), std::move(detail), ""});
}

Task<> PermissionService::authorize(ActionRole role, std::string title, std::string detail) {
    if (role == ActionRole::destructive) co_await confirm(std::move(title), std::move(detail));
}

Task<> PermissionService::approve(const ToolDefinition& tool, const JSONValue& input) {
    const std::string text = jsonText(input);
    const std::string_view shown = text::prefix(text, shownCharacters);
    std::string detail = tool.description + "\n\n";
    detail += shown;
    return ask({"AI wants to run " + tool.name, std::move(detail), text.substr(shown.size())});
}

}  // namespace velmora
