#pragma once

#include "platform/linux/watch/DirectoryMarks.h"

#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace velmora {

/// Which backends may be used, and how many marks of each at most.
struct MarkPolicy {
    bool fanotify = true;
    bool inotify = true;
    std::size_t maximumMarks = SIZE_MAX;  ///< besides the half of the system's limit
};

/// The system's backends for marking folders, the better one first, within their limits. There may be none at all when
/// other programs of the user have taken everything.
///
/// Runs on: one thread.
class MarkSet {
  public:
    explicit MarkSet(MarkPolicy policy);

    /// Marks an open folder. Nothing when it cannot be. Roots do not count towards the limit: there are few, and what
    /// is not marked is found from what is.
    std::optional<MarkKey> add(int folder, bool isRoot);

    /// A mark that was not known before is kept.
    void keep(MarkKey mark);

    /// A kept mark's folder is out of sight. `mayLive`: it has moved and is not deleted, so that a mark that cannot be
    /// taken off stays and counts.
    void release(MarkKey mark, bool mayLive);

    void read(DirectoryEvents& events);
    [[nodiscard]] std::vector<int> descriptors() const;

    /// Whether so many marks have stayed on folders that moved away that it is time to start anew.
    [[nodiscard]] bool needsReset() const;

    /// Drops every mark and every waiting event.
    void reset();

    /// Tries again to get the backends that could not be had. What comes late serves where the others refuse: nothing
    /// that is marked has to be marked again.
    void retry();

  private:
    using Make = std::unique_ptr<DirectoryMarks> (*)();
    struct Backend {
        std::unique_ptr<DirectoryMarks> marks;
        std::size_t limit = 0;
        std::size_t inUse = 0;  // kept marks and orphans
    };
    struct KeyHash {
        std::size_t operator()(const MarkKey& key) const { return key.low ^ (key.high << 1); }
    };

    Backend* backendOf(MarkKey mark);

    MarkPolicy policy_;
    std::vector<Backend> backends_;
    std::vector<Make> missing_;
    std::unordered_set<MarkKey, KeyHash> orphans_;  // that stayed on folders which have moved away
};

}  // namespace velmora
