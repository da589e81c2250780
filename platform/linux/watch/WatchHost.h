#pragma once

#include "core/files/IndexedFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// What the watching of trees needs of the thread it runs on.
class WatchHost {
  public:
    virtual ~WatchHost() = default;

    /// Whether to give up, everything at once.
    [[nodiscard]] virtual bool isStopped() = 0;

    /// Called between any two folders: fetches waiting events, so that the system need not drop them, and slows a sweep
    /// down.
    virtual void betweenFolders() = 0;

    /// A path (text) whose state is to be looked at.
    virtual void report(std::string path) = 0;

    /// What the index has directly in a folder (text). Nothing when it cannot say.
    [[nodiscard]] virtual std::optional<std::vector<IndexedFile>> indexedChildren(const std::string& folder) = 0;

    /// Some of what it has anywhere below a folder (text), in the order of paths and after one of them. Nothing when it
    /// cannot say; none at the end.
    [[nodiscard]] virtual std::optional<std::vector<IndexedFile>> indexedBelow(const std::string& folder,
                                                                               const std::string& after) = 0;
};

}  // namespace velmora
