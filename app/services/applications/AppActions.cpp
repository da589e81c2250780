#include "app/services/applications/AppActions.h"

#include "core/text/Text.h"

#include <map>

namespace velmora {

std::span<const AppLaunchAction> AppActionCatalog::actions(std::string_view bundleIdentifier) {
    static const std::map<std::string_view, std::vector<AppLaunchAction>> table{
        {"com.google.Chrome",
         {{"new-window", "New Window", {"--new-window"}}, {"incognito", "New Incognito Window", {"--incognito"}}}},
        {"com.microsoft.edgemac",
         {{"new-window", "New Window", {"--new-window"}}, {"inprivate", "New InPrivate Window", {"--inprivate"}}}},
        {"com.brave.Browser",
         {{"new-window", "New Window", {"--new-window"}}, {"private", "New Private Window", {"--incognito"}}}},
        {"company.thebrowser.Browser", {{"new-window", "New Window", {"--new-window"}}}},
        {"com.microsoft.VSCode",
         {{"new-window", "New Window", {"--new-window"}}, {"diff", "Diff Two Files", {"--diff"}}}},
        {"com.vscodium.vscodium", {{"new-window", "New Window", {"--new-window"}}}},
        {"com.tinyspeck.slack.macgap", {{"reset", "Reset App State", {"--reset-app-state"}}}},
    };
    const auto found = table.find(bundleIdentifier);
    if (found == table.end()) return {};
    return found->second;
}

std::vector<std::string> LaunchArguments::split(std::string_view text) {
    std::vector<std::string> arguments;
    std::string token;
    std::string_view quote;
    const auto endToken = [&] {
        if (!token.empty()) arguments.push_back(std::exchange(token, {}));
    };
    for (const std::string_view character : text::characters(text)) {
        if (!quote.empty()) {
            if (character == quote) {
                quote = {};
            } else {
                token += character;
            }
        } else if (character == "\"" || character == "'") {
            quote = character;
        } else if (text::trimmed(character).empty()) {
            endToken();
        } else {
            token += character;
        }
    }
    endToken();
    return arguments;
}

}  // namespace velmora
