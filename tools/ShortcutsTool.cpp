// velmora-shortcuts: lists and runs the executables in the user's folder of shortcuts.

#include "tools/ShortcutFolder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace velmora {
namespace {

constexpr const char* usage =
    "usage: velmora-shortcuts list          names the shortcuts, one a line\n"
    "       velmora-shortcuts run NAME      runs one of them\n"
    "\n"
    "Shortcuts are the executable files in $XDG_CONFIG_HOME/velmora/shortcuts (~/.config/velmora/shortcuts).\n";

std::string shortcutFolder() {
    const char* const configuration = std::getenv("XDG_CONFIG_HOME");
    if (configuration && *configuration == '/') return std::string(configuration) + "/velmora/shortcuts";
    const char* const home = std::getenv("HOME");
    if (!home || *home != '/') throw std::runtime_error("The home folder is not known.");
    return std::string(home) + "/.config/velmora/shortcuts";
}

int list() {
    for (const ShortcutFile& shortcut : shortcutFiles(shortcutFolder()))
        std::cout << shortcut.name << '\n';
    return std::cout.flush() ? 0 : 1;
}

/// Becomes the shortcut. The name only chooses among the files that were listed; it never is a path.
int run(std::string_view name) {
    for (const ShortcutFile& shortcut : shortcutFiles(shortcutFolder())) {
        if (shortcut.name != name) continue;
        std::string path = shortcut.path;
        char* const arguments[] = {path.data(), nullptr};
        execv(path.c_str(), arguments);
        std::cerr << "The shortcut “" << name << "” could not be started: " << std::strerror(errno) << ".\n";
        return 126;
    }
    std::cerr << "There is no shortcut named “" << name << "”.\n";
    return 1;
}

int perform(int count, char** words) {
    const std::string_view verb = count > 1 ? words[1] : "";
    if (count == 2 && verb == "list") return list();
    if (count == 3 && verb == "run") return run(words[2]);
    if (count == 2 && (verb == "--help" || verb == "-h")) {
        std::cout << usage;
        return 0;
    }
    std::cerr << usage;
    return 2;
}

}  // namespace
}  // namespace velmora

int main(int count, char** words) {
    try {
        return velmora::perform(count, words);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
