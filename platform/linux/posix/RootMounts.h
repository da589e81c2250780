#pragma once

#include "platform/linux/posix/Examine.h"
#include "platform/linux/posix/MountTable.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// Examines single paths below the user's roots without waiting for a program or a server, as a walk of the roots would
/// (see MountTable): what is in a mount that may stall is not there. Links are followed; one that leads into such a
/// mount, or nowhere, tells of itself.
///
/// Runs on: any thread. May wait for a root that is itself in such a mount, when asked for what is below it.
class RootMounts {
  public:
    /// Paths (bytes) that the user asked for. Does not wait.
    void setRoots(const std::vector<std::string>& roots);

    /// What a path (bytes, of any length) leads to. Nothing when there is nothing or it is not accessible.
    [[nodiscard]] std::optional<Examined> examine(const std::string& path);

  private:
    struct Root {
        explicit Root(std::string itsPath) : path(std::move(itsPath)) {}
        const std::string path;
        std::mutex mutex;
        std::optional<MountTable> mounts;
    };

    [[nodiscard]] std::string stallingMount(const std::string& path);
    [[nodiscard]] static Examined follow(const std::string& path, const Examined& link);

    std::mutex mutex_;
    std::vector<std::shared_ptr<Root>> roots_;
};

}  // namespace velmora
