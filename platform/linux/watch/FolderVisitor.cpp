#include "platform/linux/watch/FolderVisitor.h"

#include "core/files/FileNames.h"

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

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

std::string_view parentOf(std::string_view relative) {
    const std::size_t slash = relative.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : relative.substr(0, slash);
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
    if (rootFolder_ && !root_->mounts) root_->mounts.emplace(path, rootFolder_.get());
    return static_cast<bool>(rootFolder_);
}

WatchedFolders::Index FolderVisitor::marked(const WatchedFolders& folders, const WatchedRoot& root,
                                            std::string_view relative) {
    WatchedFolders::Index folder = root.folder;
    while (folder != WatchedFolders::none && !relative.empty()) {
        const std::size_t slash = relative.find('/');
        folder = folders.child(folder, relative.substr(0, slash));
        relative.remove_prefix(slash == std::string_view::npos ? relative.size() : slash + 1);
    }
    return folder;
}

Descriptor FolderVisitor::openFolder(const std::string& relative) {
    if (!rootFolder_ || isPackage(lastComponent(relative))) return {};
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
    read(visit, folder.get(), index);
    return true;
}

FolderVisitor::Place FolderVisitor::mark(const Visit& visit, int folder, WatchedFolders::Index& index) {
    const bool isRoot = visit.relative.empty();
    const std::string_view name = isRoot ? std::string_view(root_->path) : lastComponent(visit.relative);
    // Looked up afresh: what was marked when the visit was planned may have been forgotten since.
    const auto parent = isRoot ? WatchedFolders::none : marked(folders_, *root_, parentOf(visit.relative));
    const auto here = isRoot                           ? root_->folder
                      : parent == WatchedFolders::none ? WatchedFolders::none
                                                       : folders_.child(parent, name);
    const auto key = isRoot || parent != WatchedFolders::none ? marks_.add(folder, isRoot) : std::nullopt;
    if (!key) {
        index = here;  // marked before the limit was reached
        if (here != WatchedFolders::none) return Place::known;
        if (parent != WatchedFolders::none) folders_.setPartial(parent, true);
        ++result_.unmarked;
        return Place::unmarked;
    }
    index = folders_.find(*key);
    if (index != WatchedFolders::none && index == here) return Place::known;
    if (index != WatchedFolders::none) {
        // A root of its own, or a mount that leads back to its own outside.
        if (folders_.isRoot(index) || (!isRoot && folders_.isSameOrBelow(parent, index))) return Place::elsewhere;
        folders_.remove(index, [&](MarkKey each) {
            if (each != *key) marks_.release(each, true);
        });
    } else {
        marks_.keep(*key);
    }
    if (here != WatchedFolders::none) forget(here, true);
    index = folders_.add(parent, name, *key);
    if (isRoot) root_->folder = index;
    return Place::fresh;
}

void FolderVisitor::forget(WatchedFolders::Index folder, bool mayLive) {
    folders_.remove(folder, [&](MarkKey mark) { marks_.release(mark, mayLive); });
}

void FolderVisitor::read(Visit& visit, int folder, WatchedFolders::Index index) {
    // Looked at after the folder was marked: what changes from here on is an event.
    const auto self = examineOpen(folder);
    if (self && isNew(self->changed)) {
        visit.compares = true;
        // A folder that was renamed or moved here has a new change time, but nothing in it changed with it.
        if (self->changed != self->modified) visit.comparesBelow = true;
    }
    auto indexed = visit.compares || visit.comparesBelow ? indexedIn(visit.relative) : std::nullopt;
    if (!indexed && visit.comparesBelow) visit.reportsAll = true;
    while (!host_.isStopped() && reader_.fill(folder).value_or(false)) {
        while (const auto entry = reader_.next())
            examine(visit, folder, *entry, index, indexed);
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
        const std::string bytes = fileNameBytes(file.path).substr(root_->path.size() + 1);
        return !rootFolder_ || !openBelow(rootFolder_.get(), bytes, O_PATH | O_NOFOLLOW);
    });
    rootFolder_.reset();
    return std::exchange(result_, {}).foundDifference;
}

void FolderVisitor::examine(const Visit& visit, int folder, const DirectoryReader::Entry& entry,
                            WatchedFolders::Index index, std::optional<Indexed>& indexed) {
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
    const bool isLink = now ? now->isLink : false;
    const bool wasFolder = known && known.mapped().isDirectory;
    const bool isFreshChange = now && isNew(now->changed) && !(unmarkedOnly_ && index != WatchedFolders::none);
    if (visit.reportsAll || isOdd || isFreshChange) host_.report(std::move(path));
    // A link that leads nowhere never gets into the index by a report.
    if (isOdd && !visit.reportsAll && !isLink) result_.foundDifference = true;
    if (!isFolder && !wasFolder) return;
    if (unmarkedOnly_ && index != WatchedFolders::none && folders_.child(index, entry.name) != WatchedFolders::none)
        return;
    child.reportsAll = visit.reportsAll || (indexed && !wasFolder);
    child.comparesBelow = visit.comparesBelow;
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

bool FolderVisitor::isBlocked(const std::string& path) const {
    return root_->mounts && root_->mounts->isBlocked(path);
}

std::string FolderVisitor::pathOf(const std::string& relative) const {
    if (!relative.empty()) return root_->path + '/' + relative;
    return root_->path.empty() ? "/" : root_->path;
}

}  // namespace velmora
