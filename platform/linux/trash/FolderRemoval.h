#pragma once

#include "platform/linux/posix/Descriptor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmora {

/// Deletes what is in one open folder, whole trees included: by open folders only, without following symbolic links or
/// touching what is mounted inside, which may be behind a server that no longer answers. Folders of the user's own that
/// are protected are opened up first.
///
/// Blocks; runs on: worker threads.
class FolderRemoval {
  public:
    /// `folder` must stay open.
    explicit FolderRemoval(int folder) : folder_(folder) {}

    /// Deletes one entry with everything below it. False when something is left of it.
    [[nodiscard]] bool remove(const std::string& name);

  private:
    bool removeEntry(int parent, const char* name, int depth);
    bool removeContents(int folder, int depth);
    bool moveUp(int parent, const char* name);

    int folder_;
    std::vector<std::string> movedUp_;
    std::uint64_t moves_ = 0;
};

/// The names of everything in an open folder, read from its beginning.
std::vector<std::string> entryNames(int folder);

}  // namespace velmora
