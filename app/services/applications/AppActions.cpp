#include "app/services/applications/AppActions.h"

#include "core/text/Text.h"

#include <algorithm>
#include <array>
#include <map>

namespace velmora {
namespace {

struct Alias {
    std::string_view desktopId;
    std::string_view identifier;
};

/// Under which names Linux has the applications of the catalogue: the ids of their own packages, and those of Flatpak
/// and Snap where they differ. Only programs that take the same arguments.
constexpr std::array aliases{
    Alias{"google-chrome", "com.google.Chrome"},
    Alias{"google-chrome-beta", "com.google.Chrome"},
    Alias{"google-chrome-unstable", "com.google.Chrome"},
    Alias{"chromium", "com.google.Chrome"},
    Alias{"chromium-browser", "com.google.Chrome"},
    Alias{"chromium_chromium", "com.google.Chrome"},
    Alias{"org.chromium.Chromium", "com.google.Chrome"},
    Alias{"microsoft-edge", "com.microsoft.edgemac"},
    Alias{"microsoft-edge-beta", "com.microsoft.edgemac"},
    Alias{"microsoft-edge-dev", "com.microsoft.edgemac"},
    Alias{"com.microsoft.Edge", "com.microsoft.edgemac"},
    Alias{"brave-browser", "com.brave.Browser"},
    Alias{"brave_brave", "com.brave.Browser"},
    // A new window is all that Firefox has in common with an entry: its private windows have a switch of their own.
    Alias{"firefox", "company.thebrowser.Browser"},
    Alias{"firefox-esr", "company.thebrowser.Browser"},
    Alias{"firefox_firefox", "company.thebrowser.Browser"},
    Alias{"org.mozilla.firefox", "company.thebrowser.Browser"},
    Alias{"code", "com.microsoft.VSCode"},
    Alias{"code-insiders", "com.microsoft.VSCode"},
    Alias{"code_code", "com.microsoft.VSCode"},
    Alias{"com.visualstudio.code", "com.microsoft.VSCode"},
    Alias{"codium", "com.vscodium.vscodium"},
    Alias{"codium_codium", "com.vscodium.vscodium"},
    Alias{"com.vscodium.codium", "com.vscodium.vscodium"},
};

}  // namespace

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
    const auto* const alias = std::ranges::find(aliases, bundleIdentifier, &Alias::desktopId);
    const auto found = table.find(alias == aliases.end() ? bundleIdentifier : alias->identifier);
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
