#pragma once

#include "platform/linux/posix/Descriptor.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// Deletes what is in one open folder, whole trees included: by open folders only, without following symbolic links or
/// entering what is mounted inside. Folders of the user's own that are protected are opened up first.
///
/// Blocks; runs on: worker threads.
class FolderRemoval {
  public:
    /// `folder` must stay open.
    explicit FolderRemoval(int folder);

    /// Deletes one entry with everything below it. False when something is left of it.
    [[nodiscard]] bool remove(const std::string& name);

  private:
    /// Which mount a folder belongs to.
    using Mount = std::pair<std::uint64_t, std::uint64_t>;

    static Mount mountOf(int folder);
    [[nodiscard]] Descriptor enter(int parent, const char* name) const;
    bool removeEntry(int parent, const char* name, int depth);
    bool removeContents(int folder, int depth);
    bool moveUp(int parent, const char* name);

    int folder_;
    Mount mount_;
    std::vector<std::string> movedUp_;
    std::uint64_t moves_ = 0;
};

/// The names of everything in an open folder, read from its beginning.
std::vector<std::string> entryNames(int folder);

}  // namespace velmora
