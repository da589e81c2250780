#pragma once

#include "core/files/SkipRule.h"
#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/posix/DirectoryReader.h"
#include "platform/linux/posix/Examine.h"
#include "platform/linux/posix/MountTable.h"
#include "platform/linux/watch/MarkSet.h"
#include "platform/linux/watch/WatchHost.h"
#include "platform/linux/watch/WatchedFolders.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// One of the folders that the user wants watched.
struct WatchedRoot {
    std::string path;                  ///< bytes; empty for "/"
    std::optional<MountTable> mounts;  ///< read when it is first opened; to be reset when it has gone
    MountTable::Mounts handledMounts;  ///< those that have been visited
    bool isUnmarked = false;           ///< it is there and could not be marked
};

/// What a visit has found.
struct VisitResult {
    bool isEntered = false;        ///< the folder that it began with could be
    std::size_t unmarked = 0;      ///< folders visited that could not be marked
    bool foundDifference = false;  ///< a comparison has found something that the index did not know
};

/// Goes through a tree, marks every folder before reading it, and reports what may have changed: so nothing can happen
/// between the look and the watch.
///
/// Runs on: the thread of its host.
class FolderVisitor {
  public:
    /// Where to begin and what to report.
    struct Visit {
        std::string relative;        ///< bytes, below the root; empty for the root itself
        bool reportsAll = false;     ///< everything below is to be reported
        bool compares = false;       ///< with what the index has in it
        bool comparesBelow = false;  ///< and in every folder below it
        bool onlyIfNew = false;      ///< nothing is to be done if it is already marked under this name
        bool mayBeAnother = false;   ///< a folder with a new change time may be another one than the index has
    };

    FolderVisitor(WatchHost& host, MarkSet& marks, WatchedFolders& folders, SkipRule skipRule)
        : host_(host), marks_(marks), folders_(folders), skipRule_(std::move(skipRule)) {}

    /// Visits a folder and everything below it. Also reports entries that have changed since the time `since`, if any.
    VisitResult visit(WatchedRoot& root, Visit first, std::optional<FileTime> since = std::nullopt);

    /// Whether there is a folder at a path below the root that a visit would enter.
    bool canEnter(WatchedRoot& root, const std::string& relative);

    /// Begins a visit in small steps, which stays out of folders that are marked below the first.
    void beginSweep(WatchedRoot& root, Visit first, FileTime since);

    /// Visits up to `count` more folders of what was begun; what it has found in them.
    VisitResult step(std::size_t count);

    /// Whether there is more for `step` to visit.
    [[nodiscard]] bool hasMore() const { return !pending_.empty(); }

    /// Forgets a marked folder and all below it, which is no longer where it was. `mayLive` as in `MarkSet::release`.
    void forget(WatchedFolders::Index folder, bool mayLive);

    /// The marked folder at a path below a root, if there is one.
    [[nodiscard]] static WatchedFolders::Index marked(const WatchedFolders& folders, const WatchedRoot& root,
                                                      std::string_view relative);

    /// Reports what the index has anywhere below a folder and the disk has not, whatever the index has above it.
    /// Whether there is any.
    bool reportMissing(WatchedRoot& root, const std::string& relative);

  private:
    using Indexed = std::map<std::string, IndexedFile, std::less<>>;
    enum class Place { known, fresh, unmarked, elsewhere };

    void begin(WatchedRoot& root, Visit first, std::optional<FileTime> since, bool unmarkedOnly);
    bool openRoot();
    Descriptor openFolder(const std::string& relative);
    bool visitFolder(Visit visit);
    Place mark(const Visit& visit, int folder, WatchedFolders::Index& index);
    [[nodiscard]] bool isElsewhere(WatchedFolders::Index known, WatchedFolders::Index parent, const std::string& path,
                                   int folder) const;
    void read(Visit& visit, int folder, WatchedFolders::Index watched);
    void examine(const Visit& visit, int folder, const DirectoryReader::Entry& entry, WatchedFolders::Index watched,
                 std::optional<Indexed>& indexed);
    void reportStale(const Indexed& indexed);
    template <class Include>
    void reportBelow(const std::string& folder, Include include);
    [[nodiscard]] std::optional<Indexed> indexedIn(const std::string& relative);
    [[nodiscard]] bool isNew(FileTime time) const;
    [[nodiscard]] bool isParentNew() const;
    [[nodiscard]] bool isBlocked(std::string_view path) const;
    [[nodiscard]] std::string pathOf(const std::string& relative) const;

    WatchHost& host_;
    MarkSet& marks_;
    WatchedFolders& folders_;
    const SkipRule skipRule_;
    DirectoryReader reader_;

    // Of the visit that is under way.
    WatchedRoot* root_ = nullptr;
    Descriptor rootFolder_;
    std::optional<FileTime> since_;
    FileTime begun_;
    bool unmarkedOnly_ = false;
    VisitResult result_;
    std::vector<Visit> pending_;
};

}  // namespace velmora
