#pragma once

#include <string>
#include <vector>

namespace velmora {

/// The picture of a file. Nothing set: the file has none of its own.
struct FileIcon {
    std::vector<std::string> themeNames;  ///< names in the user's icon theme, the best one first
    std::string image;  ///< what an image file holds, 8 MiB at most; used instead of the names when not empty
};

/// Which icon the desktop shows for a file: an application's own, or that of its type.
///
/// Runs on: any thread; the call reads the disk. Fails with: nothing, what cannot be read has no icon.
class FileIcons {
  public:
    virtual ~FileIcons() = default;

    [[nodiscard]] virtual FileIcon find(const std::string& path) const = 0;
};

}  // namespace velmora
