#pragma once

#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace velmora {

/// The mounts below one root that a walk stays out of: trees that the kernel makes up (/proc, /sys, /dev …), and those
/// behind a program or a network (FUSE, NFS, SMB …), where any look may wait for ever. They are known from the mount
/// list alone, which never waits. A root that is itself in such a mount is walked: the user asked for it.
class MountTable {
  public:
    /// The mounts below `root` (any path that leads to the open folder `rootFolder`), as they are now.
    MountTable(const std::string& root, int rootFolder);

    /// From the text of a mount list, for a root whose true path is `canonicalRoot`.
    MountTable(const std::string& root, const std::string& canonicalRoot, std::string_view mountList);

    /// Whether the folder at `path` (bytes, beginning with the root) has such a mount directly in it.
    [[nodiscard]] bool hasBlockedChild(const std::string& path) const { return parents_.contains(path); }

    [[nodiscard]] bool isBlocked(const std::string& path) const { return blocked_.contains(path); }

    /// Every mount below the root, blocked or not: the path and which mount it is.
    [[nodiscard]] const std::set<std::pair<std::string, std::string>>& mounts() const { return mounts_; }

  private:
    void add(const std::string& path, const std::string& type, const std::string& id);

    std::unordered_set<std::string> blocked_;
    std::unordered_set<std::string> parents_;
    std::set<std::pair<std::string, std::string>> mounts_;
};

/// Whether a folder of that name is one thing to the user and not looked into.
inline bool isPackage(std::string_view name) {
    return name.size() > 4 && name.ends_with(".app");
}

}  // namespace velmora
