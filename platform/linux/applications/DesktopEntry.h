#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// The part of a desktop entry that the program uses. Texts are valid UTF-8 in the user's language.
struct DesktopEntry {
    std::string name;
    std::string exec;            ///< the command line, field codes included
    std::string tryExec;         ///< a program without which the entry counts for nothing
    std::string path;            ///< the working directory to start in
    std::string icon;            ///< a name of the icon theme or an absolute path
    std::string startupWMClass;  ///< what its windows say to belong to
    bool terminal = false;
    bool dbusActivatable = false;
    bool noDisplay = false;
    bool hidden = false;
    std::optional<std::vector<std::string>> onlyShowIn;
    std::vector<std::string> notShowIn;

    /// Reads the contents of an entry file; `languages` are locale names, the preferred one first. Nothing when it is
    /// not the entry of an application.
    static std::optional<DesktopEntry> parse(std::string_view contents, std::span<const std::string> languages);

    /// Reads the file at `path`; nothing, too, when it cannot be read or is larger than any real one.
    static std::optional<DesktopEntry> load(const std::string& path, std::span<const std::string> languages);

    /// Whether it is meant for the user's menus in one of these desktops.
    [[nodiscard]] bool isShown(std::span<const std::string> currentDesktops) const;
};

}  // namespace velmora
