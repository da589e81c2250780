#pragma once

#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/posix/DirectoryReader.h"
#include "platform/linux/posix/MountTable.h"
#include "platform/linux/watch/MarkSet.h"
#include "platform/linux/watch/WatchHost.h"
#include "platform/linux/watch/WatchedFolders.h"

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// One of the folders that the user wants watched.
struct WatchedRoot {
    std::string path;  ///< bytes; empty for "/"
    WatchedFolders::Index folder = WatchedFolders::none;
    std::optional<MountTable> mounts;  ///< read when first needed; to be reset when mounts have changed
};

/// Goes through a tree, marks every folder before reading it, and reports what may have changed: so nothing can happen
/// between the look and the watch.
///
/// Runs on: the thread of its host.
class FolderVisitor {
  public:
    static constexpr std::size_t maximumPathBytes = std::size_t{16} * 1024;
    static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

    /// Where to begin and what to report.
    struct Visit {
        std::string relative;        ///< bytes, below the root; empty for the root itself
        bool reportsAll = false;     ///< everything below is to be reported
        bool compares = false;       ///< with what the index has in it
        bool comparesBelow = false;  ///< and in every folder below it
        bool onlyIfNew = false;      ///< nothing is to be done if it is already marked under this name
    };

    FolderVisitor(WatchHost& host, MarkSet& marks, WatchedFolders& folders, std::vector<std::string> skipPrefixes)
        : host_(host), marks_(marks), folders_(folders), skipPrefixes_(std::move(skipPrefixes)) {}

    /// Visits a folder and everything below it. Also reports entries that have changed since the time `since`
    /// (microseconds since 1970). False when the folder the visit begins with could not be entered.
    bool visit(WatchedRoot& root, Visit first, std::int64_t since);

    /// Whether there is a folder at a path below the root that a visit would enter.
    bool canEnter(WatchedRoot& root, const std::string& relative);

    /// The same in small steps, and staying out of folders that are marked below the first.
    void beginSweep(WatchedRoot& root, Visit first, std::int64_t since);

    /// Visits up to `folders` more of what was begun. False once there are none left.
    bool step(std::size_t count);

    /// Forgets a marked folder and all below it, which is no longer where it was. `mayLive` as in `MarkSet::release`.
    void forget(WatchedFolders::Index folder, bool mayLive);

    /// The marked folder at a path below a root, if there is one.
    [[nodiscard]] static WatchedFolders::Index marked(const WatchedFolders& folders, const WatchedRoot& root,
                                                      std::string_view relative);

    [[nodiscard]] bool isSkipped(const std::string& pathText) const;

    /// Folders visited that could not be marked, since this was last set to 0.
    std::size_t unmarked = 0;

    /// Reports what the index has anywhere below a folder and the disk has not, whatever the index has above it.
    void reportMissing(WatchedRoot& root, const std::string& relative);

    /// Whether a comparison since this was last set has found anything that the index did not know.
    bool foundDifference = false;

  private:
    using Indexed = std::map<std::string, IndexedFile, std::less<>>;
    enum class Place { known, fresh, unmarked, elsewhere };

    void begin(WatchedRoot& root, Visit first, std::int64_t since, bool unmarkedOnly);
    bool openRoot();
    Descriptor openFolder(const std::string& relative);
    bool visitFolder(Visit visit);
    Place mark(const Visit& visit, int folder, WatchedFolders::Index& index);
    void read(Visit& visit, int folder, WatchedFolders::Index index);
    void examine(const Visit& visit, int folder, const DirectoryReader::Entry& entry, WatchedFolders::Index index,
                 std::optional<Indexed>& indexed);
    void reportStale(const Indexed& indexed);
    template <class Include>
    void reportBelow(const std::string& folder, Include include);
    [[nodiscard]] std::optional<Indexed> indexedIn(const std::string& relative);
    [[nodiscard]] bool isNew(const struct statx_timestamp& time) const;
    [[nodiscard]] bool isBlocked(const std::string& path) const;
    [[nodiscard]] std::string pathOf(const std::string& relative) const;

    WatchHost& host_;
    MarkSet& marks_;
    WatchedFolders& folders_;
    const std::vector<std::string> skipPrefixes_;
    DirectoryReader reader_;

    // Of the visit that is under way.
    WatchedRoot* root_ = nullptr;
    Descriptor rootFolder_;
    std::int64_t since_ = never;
    std::int64_t future_ = never;
    bool unmarkedOnly_ = false;
    std::vector<Visit> pending_;
};

}  // namespace velmora
