#pragma once

#include "platform/FileScanner.h"
#include "platform/Runtime.h"

namespace velmora {

/// Walks the disk itself. Symbolic links are listed and not followed; directories whose name ends in ".app" are
/// packages. Mounts that the kernel makes up or that are behind a network are listed and not entered, unless the root
/// is in one.
///
/// Runs on: any thread; the walks themselves on threads of its own with a low priority, a walk on one of them.
/// Owns: those threads. A batch in the making and two that wait are all that a walk keeps.
class DiskFileScanner final : public FileScanner {
  public:
    /// `home` is what a leading "~" stands for.
    explicit DiskFileScanner(std::string home);

    [[nodiscard]] Stream<std::vector<IndexedFile>> scan(std::string root, SkipRule skipRule) override;

  private:
    const std::string home_;
    WorkerPool threads_;
};

}  // namespace velmora
