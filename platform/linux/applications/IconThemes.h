#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace velmora {

struct DesktopEnvironment;

/// Far more than an icon has reason to take.
inline constexpr std::size_t maximumImageBytes = std::size_t{8} << 20U;

/// The icon themes that are installed, and the pictures in them by name, as the desktops share them.
///
/// A theme is read once. Nothing outside the themes' folders is read but what links in them lead to, and of that only
/// regular files.
///
/// Runs on: any thread; reads the disk.
class IconThemes {
  public:
    explicit IconThemes(const DesktopEnvironment& environment);

    /// What the image file holds that fits `pixels` × `pixels` best, from the first of `themes` that has the icon, of
    /// those that these build on, or from any place that every theme falls back on. Empty: there is none.
    [[nodiscard]] std::string find(const std::string& name, const std::vector<std::string>& themes, int pixels) const;

  private:
    /// A folder of a theme and the sizes in pixels that its pictures are meant for.
    struct Directory {
        std::string path;
        int smallest = 0;
        int largest = 0;
    };
    struct Theme {
        std::vector<Directory> directories;
        std::vector<std::string> parents;
    };

    [[nodiscard]] const Theme& theme(const std::string& name) const;
    static Theme parse(const std::string& index);
    void addWithParents(const std::string& name, std::vector<std::string>& names) const;
    [[nodiscard]] std::string findIn(const std::string& theme, const std::string& name, int pixels) const;

    std::vector<std::string> folders_;  // of themes, and of icons without one
    std::vector<std::string> loose_;    // of icons without a theme
    mutable std::mutex mutex_;
    mutable std::map<std::string, Theme> themes_;
};

}  // namespace velmora
