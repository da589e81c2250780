#pragma once

#include "platform/linux/posix/Descriptor.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora {

/// One trash folder, as the desktops lay it out: what was thrown away in "files", a note on each in "info", and a
/// summary of the sizes of folders.
///
/// Everything is reached from open folders and never by a path, no symbolic link is followed, and nothing that is
/// mounted inside or at one of its folders is touched. Blocks; runs on: worker threads.
class TrashFolder {
  public:
    explicit TrashFolder(Descriptor folder) : folder_(std::move(folder)) {}

    /// The trash folders of `user`: the one at the path `home`, and of each volume that is mounted at one of `volumes`
    /// the user's part of a shared trash and the user's own. Those that are missing are left out, and those that are
    /// links, mounts, of somebody else, or in a shared trash without a sticky bit.
    static std::vector<TrashFolder> find(const std::string& home, const std::vector<std::string>& volumes, uid_t user);

    /// Whether there is something at the path `home` that is no folder, or a mount.
    static bool isLeftOut(const std::string& home);

    /// Deletes what was thrown away, and the note on each thing with it. False when something could not be deleted;
    /// its note then stays too.
    [[nodiscard]] bool empty() const;

  private:
    Descriptor folder_;
};

/// The folders at which volumes are mounted that can be looked into without waiting for a server.
std::vector<std::string> mountedVolumes();

}  // namespace velmora
