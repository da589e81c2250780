#include "platform/linux/applications/DesktopIcon.h"

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/PropertyList.h"

#include <glib.h>

#include <array>
#include <filesystem>

namespace velmora {
namespace {

std::optional<std::string> entryIcon(const std::string& path) {
    std::vector<std::string> languages;
    for (const char* const* name = g_get_language_names(); *name; ++name)
        languages.emplace_back(*name);
    auto entry = DesktopEntry::load(path, languages);
    if (!entry || entry->icon.empty()) return std::nullopt;
    return std::move(entry->icon);
}

std::optional<std::string> bundleIcon(const std::string& path) {
    static constexpr std::array<std::string_view, 1> keys{"CFBundleIconFile"};
    const auto strings = bundleStrings(path, keys);
    if (!strings || strings->empty()) return std::nullopt;
    const std::string& name = strings->begin()->second;
    if (name.empty() || name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        return std::nullopt;
    for (const char* const ending : {"", ".icns", ".png", ".svg"}) {
        std::string image = path;
        image.append("/Contents/Resources/").append(name).append(ending);
        std::error_code ignored;
        if (std::filesystem::is_regular_file(image, ignored)) return image;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> desktopEntryIcon(const std::string& path) noexcept {
    try {
        if (path.ends_with(".desktop")) return entryIcon(path);
        if (path.ends_with(".app")) return bundleIcon(path);
    } catch (...) {  // NOLINT(bugprone-empty-catch): a picture less is no failure
    }
    return std::nullopt;
}

}  // namespace velmora
