#include "platform/linux/watch/TreeWatch.h"

#include "core/files/FileNames.h"
#include "platform/linux/posix/PathParts.h"

#include <fcntl.h>

#include <algorithm>

namespace velmora {
namespace {

using Visit = FolderVisitor::Visit;

// More than this, and it is as if the system had dropped them.
constexpr std::size_t maximumWaitingEvents = 200'000;
constexpr std::size_t maximumRechecks = 1'000;
constexpr int maximumRechecksOfOne = 4;
constexpr std::size_t foldersPerSweepStep = 32;
constexpr std::chrono::milliseconds betweenSweepSteps{20};

std::string joined(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + '/' + name;
}

std::vector<WatchedRoot> rootsFrom(const std::vector<std::string>& paths) {
    std::vector<WatchedRoot> roots;
    for (const std::string& text : paths) {
        std::string path = fileNameBytes(text);
        if (!path.starts_with('/')) continue;
        while (path.ends_with('/'))
            path.pop_back();
        const bool isKnown =
            std::any_of(roots.begin(), roots.end(), [&](const auto& root) { return root.path == path; });
        if (isKnown) continue;
        roots.emplace_back();
        roots.back().path = std::move(path);
    }
    return roots;
}

}  // namespace

TreeWatch::TreeWatch(WatchHost& host, const std::vector<std::string>& roots, TreeWatchOptions options)
    : host_(host),
      options_(std::move(options)),
      marks_(options_.marks),
      visitor_(host, marks_, folders_, options_.skipPrefixes),
      sweeper_(host, marks_, folders_, options_.skipPrefixes),
      roots_(rootsFrom(roots)),
      mountList_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
      nextSweep_(std::chrono::steady_clock::now() + options_.sweepInterval) {}

void TreeWatch::begin(std::optional<FileTime> since) {
    const FileTime now = fileTimeNow();
    // An identifier that is still to come was made before the clock was set back: no time can be trusted.
    const bool isFromFuture = since && *since > now;
    visitEverything(isFromFuture ? std::nullopt : since, isFromFuture);
    sweptUntil_ = now;
}

void TreeWatch::visitEverything(std::optional<FileTime> since, bool compares) {
    unmarked_ = 0;
    for (WatchedRoot& root : roots_) {
        Visit all;
        all.compares = all.comparesBelow = compares;
        unmarked_ += visitor_.visit(root, std::move(all), since).unmarked;
    }
}

void TreeWatch::fetchEvents() {
    marks_.read(waiting_);
    if (waiting_.events.size() <= maximumWaitingEvents) return;
    waiting_.events.clear();
    waiting_.hasOverflowed = true;
}

void TreeWatch::handleEvents(FileTime since) {
    const DirectoryEvents now = std::exchange(waiting_, {});
    const std::vector<Place> deleted = std::exchange(deletedFolders_, {});
    for (const DirectoryEvent& event : now.events) {
        if (host_.isStopped()) return;
        handle(event);
    }
    forgetDeleted(deleted);
    if (now.hasOverflowed) visitEverything(since, false);
    if (marks_.needsReset()) {
        for (const WatchedRoot& root : roots_) {
            const WatchedFolders::Index folder = FolderVisitor::marked(folders_, root, "");
            if (folder != WatchedFolders::none) visitor_.forget(folder, true);
        }
        marks_.reset();
        visitEverything(since, false);
    }
    if (std::exchange(rootsAreSuspect_, false)) unmarked_ += checkRoots();
}

/// By now everything that happened in them while they were there has been handled.
void TreeWatch::forgetDeleted(const std::vector<Place>& deleted) {
    for (const Place& place : deleted) {
        const WatchedFolders::Index folder = FolderVisitor::marked(folders_, roots_[place.root], place.relative);
        if (folder == WatchedFolders::none || visitor_.canEnter(roots_[place.root], place.relative)) continue;
        visitor_.forget(folder, false);
    }
}

void TreeWatch::handle(const DirectoryEvent& event) {
    const WatchedFolders::Index folder = folders_.find(event.folder);
    if (folder == WatchedFolders::none) return;
    if (event.name.empty()) {
        rootsAreSuspect_ = rootsAreSuspect_ || folders_.isRoot(folder);
        return;
    }
    const std::size_t root = rootOf(folder);
    const std::string relative = folders_.relativePath(folder);
    std::string path = fileNameText(roots_[root].path + '/' + joined(relative, event.name));
    if (options_.skipPrefixes.skips(path)) return;
    host_.report(std::move(path));
    if (event.isListing && !relative.empty()) host_.report(fileNameText(roots_[root].path + '/' + relative));
    if (event.isFolder) lookAtFolder(root, folder, event.name, event);
}

void TreeWatch::lookAtFolder(std::size_t root, WatchedFolders::Index parent, const std::string& name,
                             const DirectoryEvent& event) {
    if (!event.isListing && folders_.child(parent, name) != WatchedFolders::none) return;
    Visit visit;
    visit.relative = joined(folders_.relativePath(parent), name);
    visit.reportsAll = true;
    visit.compares = true;
    visit.onlyIfNew = true;
    const Place place{root, visit.relative};
    // Of a deleted folder everything was deleted one by one, which need not be looked up.
    const bool isDeleted = event.isListing && !event.hasAppeared && !event.hasMovedAway;
    if (isDeleted && !visitor_.canEnter(roots_[root], place.relative)) return deletedFolders_.push_back(place);
    const VisitResult found = visitor_.visit(roots_[root], std::move(visit));
    unmarked_ += found.unmarked;
    if (!found.isEntered && folders_.isUsed(parent)) {
        const WatchedFolders::Index gone = folders_.child(parent, name);
        if (gone != WatchedFolders::none) visitor_.forget(gone, event.hasMovedAway);
    }
    // Paths below it may be on their way into the index right now, from before it moved.
    if (event.hasMovedAway || found.foundDifference) recheckLater(place);
}

void TreeWatch::recheckLater(Place place, int times) {
    if (rechecks_.size() >= maximumRechecks) {
        rechecks_.clear();
        place.relative.clear();
    }
    rechecks_[std::move(place)] = {std::chrono::steady_clock::now() + options_.recheckDelay, times};
}

void TreeWatch::recheck(const Place& place, int times) {
    Visit visit;
    visit.relative = place.relative;
    visit.compares = visit.comparesBelow = true;
    const bool isMissing = visitor_.reportMissing(roots_[place.root], place.relative);
    const VisitResult found = visitor_.visit(roots_[place.root], std::move(visit));
    // The index may have its own view of an entry for good.
    if ((isMissing || found.foundDifference) && times + 1 < maximumRechecksOfOne) recheckLater(place, times + 1);
}

/// Looks for roots that have come or gone; how many of their folders could not be marked.
std::size_t TreeWatch::checkRoots() {
    std::size_t unmarked = 0;
    for (WatchedRoot& root : roots_) {
        if (root.isUnmarked && visitor_.canEnter(root, "")) continue;  // the sweep looks at it
        Visit visit;
        visit.reportsAll = visit.compares = visit.onlyIfNew = true;
        const VisitResult found = visitor_.visit(root, std::move(visit));
        unmarked += found.unmarked;
        if (found.isEntered) continue;
        root.isUnmarked = false;
        root.mounts.reset();
        const WatchedFolders::Index gone = FolderVisitor::marked(folders_, root, "");
        if (gone != WatchedFolders::none) visitor_.forget(gone, true);
    }
    return unmarked;
}

void TreeWatch::mountsChanged() {
    for (std::size_t i = 0; i < roots_.size(); ++i) {
        std::optional<MountTable>& mounts = roots_[i].mounts;
        if (!mounts) continue;
        mounts->refresh();
        const auto before = std::exchange(roots_[i].handledMounts, mounts->mounts());
        const auto& now = roots_[i].handledMounts;
        std::vector<std::pair<std::string, std::string>> different;
        std::set_symmetric_difference(before.begin(), before.end(), now.begin(), now.end(),
                                      std::back_inserter(different));
        for (const auto& mount : different)
            mountChanged(i, mount.first);
    }
    unmarked_ += checkRoots();
}

/// Something was mounted at a path or is no longer: what is below it now is another folder than before.
void TreeWatch::mountChanged(std::size_t root, const std::string& path) {
    Visit visit;
    visit.relative = path.substr(roots_[root].path.size() + 1);
    visit.reportsAll = visit.compares = true;
    const std::string relative = visit.relative;
    const std::string parent(parentOf(relative));
    if (!visitor_.canEnter(roots_[root], parent) || options_.skipPrefixes.skips(fileNameText(path))) return;
    host_.report(fileNameText(path));
    const VisitResult found = visitor_.visit(roots_[root], std::move(visit));
    unmarked_ += found.unmarked;
    if (found.isEntered) return;
    const WatchedFolders::Index gone = FolderVisitor::marked(folders_, roots_[root], relative);
    if (gone != WatchedFolders::none) visitor_.forget(gone, true);
}

TreeWatch::Time TreeWatch::doDueWork() {
    const Time now = std::chrono::steady_clock::now();
    const auto due =
        std::find_if(rechecks_.begin(), rechecks_.end(), [&](const auto& each) { return each.second.due <= now; });
    if (due != rechecks_.end()) {
        const auto [place, again] = *due;
        rechecks_.erase(due);
        recheck(place, again.times);
    }
    if (isSweeping_) {
        sweepOn();
    } else if (now >= nextSweep_) {
        checkRoots();  // the sweep counts for itself
        beginSweep();
    }
    Time next = isSweeping_ ? now + betweenSweepSteps : nextSweep_;
    for (const auto& each : rechecks_)
        next = std::min(next, each.second.due);
    return next;
}

void TreeWatch::beginSweep() {
    // Deleted folders first, whose marks are free again.
    fetchEvents();
    if (!hasFetchedEvents()) forgetDeleted(std::exchange(deletedFolders_, {}));
    marks_.retry();
    toSweep_.clear();
    for (std::size_t i = 0; i < roots_.size(); ++i) {
        if (roots_[i].isUnmarked) toSweep_.push_back({i, ""});
    }
    for (const WatchedFolders::Index folder : folders_.partialFolders()) {
        toSweep_.push_back({rootOf(folder), folders_.relativePath(folder)});
        folders_.setPartial(folder, false);
    }
    sweepBegun_ = fileTimeNow();
    sweptUnmarked_ = 0;
    isSweeping_ = true;
}

void TreeWatch::sweepOn() {
    sweptUnmarked_ += sweeper_.step(foldersPerSweepStep).unmarked;
    if (sweeper_.hasMore()) return;
    if (!toSweep_.empty()) {
        const Place place = std::move(toSweep_.back());
        toSweep_.pop_back();
        Visit visit;
        visit.relative = place.relative;
        sweeper_.beginSweep(roots_[place.root], std::move(visit), sweptUntil_);
        return;
    }
    isSweeping_ = false;
    unmarked_ = sweptUnmarked_;
    sweptUntil_ = sweepBegun_;
    nextSweep_ = std::chrono::steady_clock::now() + options_.sweepInterval;
}

std::optional<FileTime> TreeWatch::sweptUntil() const {
    if (unmarked_ == 0) return std::nullopt;
    return sweptUntil_;
}

std::size_t TreeWatch::rootOf(WatchedFolders::Index folder) const {
    const std::string path = folders_.path(folders_.rootOf(folder));
    const auto root = std::find_if(roots_.begin(), roots_.end(), [&](const auto& each) { return each.path == path; });
    return static_cast<std::size_t>(root - roots_.begin());
}

}  // namespace velmora
