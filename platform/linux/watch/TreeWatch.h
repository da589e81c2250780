#pragma once

#include "platform/linux/watch/FolderVisitor.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

struct TreeWatchOptions {
    MarkPolicy marks;
    SkipRule skipPrefixes;  ///< what is not watched
    std::chrono::milliseconds sweepInterval{60'000};
    std::chrono::milliseconds recheckDelay{5'000};
};

/// Keeps a mark on every folder of some trees and turns what the system reports into paths to look at. Events are only
/// hints; the disk is read again, so that their order, merging and age do not matter.
///
/// Folders beyond the limits are looked at from time to time, in small steps; so is everything where there is no mark
/// to be had, until there is. Roots that are not there are waited for.
///
/// Runs on: the thread of its host, but for its making.
class TreeWatch {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// `roots` are text.
    TreeWatch(WatchHost& host, const std::vector<std::string>& roots, TreeWatchOptions options);

    /// Marks everything there is. Reports what has changed since a time; with none, nothing.
    void begin(std::optional<FileTime> since);

    /// What to wait on for `fetchEvents` to find something.
    [[nodiscard]] std::vector<int> eventDescriptors() const { return marks_.descriptors(); }

    /// What to wait on (POLLPRI) for `mountsChanged`; -1 when that cannot be known.
    [[nodiscard]] int mountDescriptor() const { return mountList_.get(); }

    /// Whether events have been fetched that have not been handled; any of the other calls may have fetched some.
    [[nodiscard]] bool hasFetchedEvents() const { return waiting_.hasOverflowed || !waiting_.events.empty(); }

    /// Takes waiting events over from the system. Cheap; may be called at any time.
    void fetchEvents();

    /// Acts on the events fetched so far. Everything up to `since` has been acted on before: what to fall back to when
    /// the system has dropped events.
    void handleEvents(FileTime since);

    void mountsChanged();

    /// Does a piece of the work that is due, and says when to come again.
    Time doDueWork();

    /// How many folders are not marked.
    [[nodiscard]] std::size_t unmarkedFolders() const { return unmarked_; }

    /// Up to when unmarked folders have been looked at; nothing while there are none.
    [[nodiscard]] std::optional<FileTime> sweptUntil() const;

  private:
    struct Place {
        std::size_t root = 0;
        std::string relative;
        friend auto operator<=>(const Place&, const Place&) = default;
    };

    struct Recheck {
        Time due;
        int times = 0;  // that it has been done before
    };

    void handle(const DirectoryEvent& event);
    void lookAtFolder(std::size_t root, WatchedFolders::Index parent, const std::string& name,
                      const DirectoryEvent& event);
    void forgetDeleted(const std::vector<Place>& deleted);
    void visitEverything(std::optional<FileTime> since, bool compares);
    std::size_t checkRoots();
    void recheckLater(Place place, int times = 0);
    void recheck(const Place& place, int times);
    void beginSweep();
    void sweepOn();
    void mountChanged(std::size_t root, const std::string& path);
    [[nodiscard]] std::size_t rootOf(WatchedFolders::Index folder) const;

    WatchHost& host_;
    const TreeWatchOptions options_;
    MarkSet marks_;
    WatchedFolders folders_;
    FolderVisitor visitor_;
    FolderVisitor sweeper_;
    std::vector<WatchedRoot> roots_;
    Descriptor mountList_;

    DirectoryEvents waiting_;
    std::vector<Place> deletedFolders_;  // of which earlier events may still be on their way
    bool rootsAreSuspect_ = false;
    std::map<Place, Recheck> rechecks_;

    std::size_t unmarked_ = 0;
    Time nextSweep_;
    std::vector<Place> toSweep_;
    bool isSweeping_ = false;
    std::size_t sweptUnmarked_ = 0;  // of the sweep that is under way
    FileTime sweepBegun_;
    FileTime sweptUntil_;  // when the one before it began
};

}  // namespace velmora
