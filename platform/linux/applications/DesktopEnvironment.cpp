#include "platform/linux/applications/DesktopEnvironment.h"

#include "platform/linux/posix/ExecutableFile.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>

namespace velmora {
namespace {

std::vector<std::string> split(const char* list) {
    std::vector<std::string> parts;
    std::string_view rest = list ? list : "";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (end > 0) parts.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return parts;
}

std::vector<std::string> folders(const char* list, const char* fallback) {
    std::vector<std::string> parts = split(list && *list ? list : fallback);
    std::erase_if(parts, [](const std::string& part) { return !part.starts_with('/'); });
    return parts;
}

}  // namespace

std::vector<std::string> DesktopEnvironment::userLanguages() {
    std::vector<std::string> languages;
    for (const char* const* name = g_get_language_names(); *name; ++name)
        languages.emplace_back(*name);
    return languages;
}

DesktopEnvironment DesktopEnvironment::ofProcess(std::string home) {
    DesktopEnvironment made;
    const char* const dataHome = std::getenv("XDG_DATA_HOME");
    made.dataHome = dataHome && *dataHome == '/' ? dataHome : home + "/.local/share";
    made.home = std::move(home);
    made.dataFolders = folders(std::getenv("XDG_DATA_DIRS"), "/usr/local/share:/usr/share");
    made.currentDesktops = split(std::getenv("XDG_CURRENT_DESKTOP"));
    made.languages = userLanguages();
    made.searchFolders = folders(std::getenv("PATH"), "/usr/local/bin:/usr/bin:/bin");
    return made;
}

std::vector<std::string> DesktopEnvironment::applicationFolders() const {
    std::vector<std::string> data{dataHome};  // most important first
    const auto add = [&data](const std::string& folder) {
        std::string plain = folder;
        while (plain.size() > 1 && plain.ends_with('/'))
            plain.pop_back();
        if (std::ranges::find(data, plain) == data.end()) data.push_back(std::move(plain));
    };
    // Sessions put the exports among the data folders, in this order; not all do.
    const auto addUnlessNamed = [&](const std::string& folder) {
        const auto& named = dataFolders;
        const bool isNamed =
            std::ranges::find(named, folder) != named.end() || std::ranges::find(named, folder + "/") != named.end();
        if (!isNamed) add(folder);
    };
    addUnlessNamed(home + "/.local/share/flatpak/exports/share");
    addUnlessNamed("/var/lib/flatpak/exports/share");
    for (const std::string& folder : dataFolders)
        add(folder);
    add("/var/lib/snapd/desktop");

    std::vector<std::string> all{"/Applications", home + "/Applications", "/System/Applications",
                                 "/System/Library/CoreServices/Applications",
                                 "/System/Volumes/Preboot/Cryptexes/App/System/Applications"};
    for (auto folder = data.rbegin(); folder != data.rend(); ++folder)
        all.push_back(*folder + "/applications");
    return all;
}

std::optional<std::string> DesktopEnvironment::findProgram(std::string_view name) const {
    if (name.empty() || name.find('\0') != std::string_view::npos) return std::nullopt;
    std::string path(name);
    if (name.find('/') != std::string_view::npos) {
        if (name.starts_with('/') && isExecutableFile(path)) return path;
        return std::nullopt;
    }
    for (const std::string& folder : searchFolders) {
        path = folder + "/" + std::string(name);
        if (isExecutableFile(path)) return path;
    }
    return std::nullopt;
}

}  // namespace velmora
