#include "platform/linux/applications/DesktopEnvironment.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

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

bool isExecutable(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
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

std::optional<std::string> DesktopEnvironment::findProgram(std::string_view name) const {
    if (name.empty() || name.find('\0') != std::string_view::npos) return std::nullopt;
    std::string path(name);
    if (name.find('/') != std::string_view::npos) {
        if (name.starts_with('/') && isExecutable(path)) return path;
        return std::nullopt;
    }
    for (const std::string& folder : searchFolders) {
        path = folder + "/" + std::string(name);
        if (isExecutable(path)) return path;
    }
    return std::nullopt;
}

}  // namespace velmora
