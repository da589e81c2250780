#include "platform/linux/watch/FolderVisitor.h"

#include "core/files/FileNames.h"
#include "platform/linux/posix/PathParts.h"

#include <fcntl.h>

#include <chrono>
#include <cmath>

namespace velmora {
namespace {

// Times of files come from a clock that lags a little, and other file systems keep theirs in whole seconds or two.
constexpr std::chrono::seconds timeSlack{2};

bool everything(const IndexedFile& /*file*/) {
    return true;
}

bool isInPackage(std::string_view relative) {
    for (; !relative.empty(); relative = parentOf(relative)) {
        if (isPackage(lastComponent(relative))) return true;
    }
    return false;
}

/// Whether the index has what is there. Of links it may have the link or what it leads to, of times whole seconds only,
/// and sizes of folders mean nothing.
bool isUpToDate(const IndexedFile& known, const Examined& now) {
    if (now.isLink) return true;
    const double wholeSeconds = secondsSince1970(std::chrono::floor<std::chrono::seconds>(now.modified));
    return known.isDirectory == now.isFolder && std::floor(known.modified) == wholeSeconds &&
           (now.isFolder || known.size == now.sizeBytes);
}

}  // namespace

VisitResult FolderVisitor::visit(WatchedRoot& root, Visit first, std::optional<FileTime> since) {
    begin(root, {}, since, false);
    pending_.clear();
    openRoot();
    result_.isEntered = visitFolder(std::move(first));
    while (!pending_.empty() && !host_.isStopped()) {
        host_.betweenFolders();
        Visit next = std::move(pending_.back());
        pending_.pop_back();
        visitFolder(std::move(next));
    }
    rootFolder_.reset();
    return std::exchange(result_, {});
}

void FolderVisitor::beginSweep(WatchedRoot& root, Visit first, FileTime since) {
    begin(root, std::move(first), since, true);
}

void FolderVisitor::begin(WatchedRoot& root, Visit first, std::optional<FileTime> since, bool unmarkedOnly) {
    root_ = &root;
    since_ = since;
    begun_ = fileTimeNow();
    unmarkedOnly_ = unmarkedOnly;
    result_ = {};
    pending_.clear();
    pending_.push_back(std::move(first));
}

VisitResult FolderVisitor::step(std::size_t count) {
    // Kept open for no longer than the step, so that a disk can be unmounted.
    if (!pending_.empty() && !openRoot()) pending_.clear();
    for (; count > 0 && !pending_.empty() && !host_.isStopped(); --count) {
        Visit next = std::move(pending_.back());
        pending_.pop_back();
        visitFolder(std::move(next));
    }
    rootFolder_.reset();
    return std::exchange(result_, {});
}

bool FolderVisitor::openRoot() {
    const std::string path = pathOf("");
    rootFolder_ = openPath(path, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
    if (rootFolder_ && !root_->mounts) {
        root_->mounts.emplace(path, rootFolder_.get());
        root_->handledMounts = root_->mounts->mounts();
    }
    return static_cast<bool>(rootFolder_);
}

Descriptor FolderVisitor::openFolder(const std::string& relative) {
    if (!rootFolder_ || isInPackage(relative)) return {};
    if (!relative.empty() && isBlocked(pathOf(relative))) return {};
    return openBelow(rootFolder_.get(), relative, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
}

bool FolderVisitor::canEnter(WatchedRoot& root, const std::string& relative) {
    root_ = &root;
    openRoot();
    const bool entered = static_cast<bool>(openFolder(relative));
    rootFolder_.reset();
    return entered;
}

bool FolderVisitor::visitFolder(Visit visit) {
    const Descriptor folder = openFolder(visit.relative);
    if (!folder) {
        if (visit.compares || visit.comparesBelow) reportBelow(fileNameText(pathOf(visit.relative)), everything);
        return false;
    }
    WatchedFolders::Index index = WatchedFolders::none;
    const Place place = mark(visit, folder.get(), index);
    if (place == Place::elsewhere || (place == Place::known && visit.onlyIfNew)) return true;
    read(visit, folder.get(), unmarkedOnly_ && place == Place::known ? index : WatchedFolders::none);
    return true;
}

/// `watched`: the folder, if its own events have been reported all along.
void FolderVisitor::read(Visit& visit, int folder, WatchedFolders::Index watched) {
    // Looked at after the folder was marked: what changes from here on is an event.
    const auto self = examineOpen(folder);
    const bool isSelfNew = self && isNew(self->changed);
    if (isSelfNew) {
        visit.compares = true;
        // Moving a folder here gives a new change time to it and to the folder that it came to, and to nothing in it.
        if (visit.relative.empty() ? isParentNew() : visit.mayBeAnother) visit.comparesBelow = true;
    }
    visit.mayBeAnother = isSelfNew;  // for what is in it
    auto indexed = visit.compares || visit.comparesBelow ? indexedIn(visit.relative) : std::nullopt;
    if (!indexed && visit.comparesBelow) visit.reportsAll = true;
    while (!host_.isStopped() && reader_.fill(folder).value_or(false)) {
        while (const auto entry = reader_.next())
            examine(visit, folder, *entry, watched, indexed);
    }
    if (!indexed || host_.isStopped()) return;
    reportStale(*indexed);
}

/// What the index has and the disk has not; of folders also what the index has below them.
void FolderVisitor::reportStale(const Indexed& indexed) {
    for (const auto& [name, file] : indexed) {
        result_.foundDifference = true;
        host_.report(file.path);
        if (file.isDirectory) reportBelow(file.path, everything);
    }
}

template <class Include>
void FolderVisitor::reportBelow(const std::string& folder, Include include) {
    std::string after;
    while (!host_.isStopped()) {
        const auto rows = host_.indexedBelow(folder, after);
        if (!rows || rows->empty()) return;
        for (const IndexedFile& file : *rows) {
            if (skipRule_.skips(file.path) || !include(file)) continue;
            result_.foundDifference = true;
            host_.report(file.path);
        }
        after = rows->back().path;
        host_.betweenFolders();
    }
}

bool FolderVisitor::reportMissing(WatchedRoot& root, const std::string& relative) {
    root_ = &root;
    result_ = {};
    openRoot();
    reportBelow(fileNameText(pathOf(relative)), [this](const IndexedFile& file) {
        const std::string bytes = fileNameBytes(file.path);
        if (!rootFolder_) return true;
        if (isBlocked(bytes)) return isBlocked(parentOf(bytes));  // a mount itself is there
        return !openBelow(rootFolder_.get(), bytes.substr(root_->path.size() + 1), O_PATH | O_NOFOLLOW);
    });
    rootFolder_.reset();
    return std::exchange(result_, {}).foundDifference;
}

void FolderVisitor::examine(const Visit& visit, int folder, const DirectoryReader::Entry& entry,
                            WatchedFolders::Index watched, std::optional<Indexed>& indexed) {
    Visit child;
    child.relative = visit.relative.empty() ? std::string(entry.name) : visit.relative + '/' + std::string(entry.name);
    std::string path = fileNameText(pathOf(child.relative));
    if (skipRule_.skips(path)) return;
    const bool looks = visit.reportsAll || indexed || since_;
    if (!looks && !entry.mayBeFolder) return;
    const auto known = indexed ? indexed->extract(fileNameText(entry.name)) : Indexed::node_type();
    const bool isBlockedMount = entry.mayBeFolder && isBlocked(pathOf(child.relative));
    const auto now = isBlockedMount ? std::nullopt : examineEntry(folder, entry.terminatedName);
    if (!now && !isBlockedMount) {
        if (known) host_.report(std::move(path));
        return;
    }
    const bool isFolder = isBlockedMount || now->isFolder;
    const bool isOdd = indexed && (!known || (now && !isUpToDate(known.mapped(), *now)));
    const bool wasFolder = known && known.mapped().isDirectory;
    const bool isFreshChange = now && isNew(now->changed) && watched == WatchedFolders::none;
    if (visit.reportsAll || isOdd || isFreshChange) host_.report(std::move(path));
    if (isOdd && !visit.reportsAll) result_.foundDifference = true;
    if (!isFolder && !wasFolder) return;
    if (watched != WatchedFolders::none && folders_.child(watched, entry.name) != WatchedFolders::none) return;
    child.reportsAll = visit.reportsAll || (indexed && !wasFolder);
    child.comparesBelow = visit.comparesBelow;
    child.mayBeAnother = visit.mayBeAnother;
    child.compares = visit.comparesBelow || (wasFolder && (!isFolder || visit.reportsAll || isOdd));
    pending_.push_back(std::move(child));
}

std::optional<FolderVisitor::Indexed> FolderVisitor::indexedIn(const std::string& relative) {
    auto children = host_.indexedChildren(fileNameText(pathOf(relative)));
    if (!children) return std::nullopt;
    Indexed indexed;
    for (IndexedFile& file : *children) {
        if (skipRule_.skips(file.path)) continue;
        std::string name = file.name;
        indexed.emplace(std::move(name), std::move(file));
    }
    return indexed;
}

/// A time in the future was made by a clock that has since been set back: it may be new.
bool FolderVisitor::isNew(FileTime time) const {
    return since_ && (time >= *since_ - timeSlack || time > begun_ + timeSlack);
}

/// Whether the folder that the root lies in has changed.
bool FolderVisitor::isParentNew() const {
    if (!rootFolder_ || root_->path.empty()) return false;
    const auto parent = examineEntry(rootFolder_.get(), "..");
    return parent && isNew(parent->changed);
}

bool FolderVisitor::isBlocked(std::string_view path) const {
    if (!root_->mounts) return false;
    root_->mounts->refresh();
    return root_->mounts->isBlocked(path);
}

std::string FolderVisitor::pathOf(const std::string& relative) const {
    if (!relative.empty()) return root_->path + '/' + relative;
    return root_->path.empty() ? "/" : root_->path;
}

}  // namespace velmora
