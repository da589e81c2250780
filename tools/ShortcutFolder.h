#pragma once

#include <string>
#include <vector>

namespace velmora {

/// One executable in the folder of shortcuts.
struct ShortcutFile {
    std::string name;  ///< the file's name without its last extension
    std::string path;
};

/// The shortcuts in `folder`, in the order of the bytes of their file names: executable regular files (links are
/// followed) that belong to the user or to root and that nobody else may write to or replace. Hidden files, and names
/// that are not a line of UTF-8, are left out. None when the folder is missing. Fails with: `std::runtime_error` with a
/// sentence for the user when others may write to the folder itself.
std::vector<ShortcutFile> shortcutFiles(const std::string& folder);

}  // namespace velmora
