#pragma once

#include "platform/linux/posix/Descriptor.h"

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace velmora {

/// The mounts below one root that a walk stays out of: trees that the kernel makes up (/proc, /sys, /dev …), and those
/// behind a program or a network (FUSE, NFS, SMB …), where any look may wait for ever. They are known from the mount
/// list alone, which never waits. A root that is itself in such a mount is walked: the user asked for it.
///
/// Runs on: one thread. Owns: a descriptor that tells when the list has changed.
class MountTable {
  public:
    using Mounts = std::set<std::pair<std::string, std::string>>;

    /// The mounts below `root` (any path that leads to the open folder `rootFolder`), as they are now.
    MountTable(std::string root, int rootFolder);

    /// From the text of a mount list, for a root whose true path is `canonicalRoot`; stays as it is.
    MountTable(std::string root, std::string canonicalRoot, std::string_view mountList);

    /// Reads the list again if it has changed. Cheap otherwise; to be called before every look at a folder.
    void refresh();

    /// Whether `path` (bytes, beginning with the root) is such a mount or lies in one.
    [[nodiscard]] bool isBlocked(std::string_view path) const;

    /// The innermost mount behind a program or a network that `path` is or lies in; empty if none.
    [[nodiscard]] std::string_view stallingMount(std::string_view path) const;

    /// Every mount below the root, blocked or not: the path and which mount it is.
    [[nodiscard]] const Mounts& mounts() const { return mounts_; }

  private:
    enum class Kind { madeUp, stalling };

    void read(std::string_view mountList);

    std::string root_;
    std::string canonicalRoot_;
    Descriptor changes_;
    std::unordered_map<std::string, Kind> blocked_;
    Mounts mounts_;
};

/// The true path of an open file or folder; nothing when it has none or one that is too long.
std::string truePath(int descriptor);

/// Whether a folder of that name is one thing to the user and not looked into.
inline bool isPackage(std::string_view name) {
    return name.size() > 4 && name.ends_with(".app");
}

}  // namespace velmora
