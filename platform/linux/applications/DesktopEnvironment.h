#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// What the session's environment says about applications. Folders are absolute, most important first.
struct DesktopEnvironment {
    std::string home;
    std::string dataHome;
    std::vector<std::string> dataFolders;
    std::vector<std::string> currentDesktops;
    std::vector<std::string> languages;      ///< locale names, "de_AT" before "de"
    std::vector<std::string> searchFolders;  ///< where programs are looked for

    /// The languages that the user reads, as names of locales, the preferred one first.
    static std::vector<std::string> userLanguages();

    /// As the variables of this process have it. Entries that are not absolute count for nothing.
    static DesktopEnvironment ofProcess(std::string home);

    /// The folders that applications may be in, absolute, least important first.
    [[nodiscard]] std::vector<std::string> applicationFolders() const;

    /// The program that `name` means: itself when absolute, else found in `searchFolders`. Nothing unless it is a file
    /// that may be executed.
    [[nodiscard]] std::optional<std::string> findProgram(std::string_view name) const;
};

}  // namespace velmora
