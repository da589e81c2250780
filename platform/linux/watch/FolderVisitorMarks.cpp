// The part of the visitor that marks folders and knows where they are.

#include "platform/linux/posix/PathParts.h"
#include "platform/linux/watch/FolderVisitor.h"

#include <fcntl.h>

namespace velmora {
namespace {

bool leadsTo(const std::string& path, int folder) {
    const Descriptor there = openPath(path, O_PATH | O_DIRECTORY);
    const auto found = there ? examineOpen(there.get()) : std::nullopt;
    const auto wanted = examineOpen(folder);
    return found && wanted && found->identity == wanted->identity;
}

}  // namespace

WatchedFolders::Index FolderVisitor::marked(const WatchedFolders& folders, const WatchedRoot& root,
                                            std::string_view relative) {
    WatchedFolders::Index folder = folders.child(WatchedFolders::none, root.path);
    while (folder != WatchedFolders::none && !relative.empty()) {
        const std::size_t slash = relative.find('/');
        folder = folders.child(folder, relative.substr(0, slash));
        relative.remove_prefix(slash == std::string_view::npos ? relative.size() : slash + 1);
    }
    return folder;
}

FolderVisitor::Place FolderVisitor::mark(const Visit& visit, int folder, WatchedFolders::Index& index) {
    const bool isRoot = visit.relative.empty();
    const std::string_view name = isRoot ? std::string_view(root_->path) : lastComponent(visit.relative);
    // Looked up afresh: what was marked when the visit was planned may have been forgotten since.
    const auto parent = isRoot ? WatchedFolders::none : marked(folders_, *root_, parentOf(visit.relative));
    const bool canBeMarked = isRoot || parent != WatchedFolders::none;
    const auto here = canBeMarked ? folders_.child(parent, name) : WatchedFolders::none;
    const auto key = canBeMarked ? marks_.add(folder, isRoot) : std::nullopt;
    if (isRoot) root_->isUnmarked = !key && here == WatchedFolders::none;
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
        if (isElsewhere(index, parent, isRoot ? root_->path : pathOf(visit.relative), folder)) return Place::elsewhere;
        folders_.remove(index, [&](MarkKey each) {
            if (each != *key) marks_.release(each, true);
        });
    } else {
        marks_.keep(*key);
    }
    if (here != WatchedFolders::none) forget(here, true);
    index = folders_.add(parent, name, *key);
    return Place::fresh;
}

/// Whether a marked folder that has been met again at a path is watched where it is known, and not moved from there.
bool FolderVisitor::isElsewhere(WatchedFolders::Index known, WatchedFolders::Index parent, const std::string& path,
                                int folder) const {
    if (folders_.isSameOrBelow(parent, known)) return true;  // a mount that leads back to its own outside
    const std::string knownPath = folders_.path(known);
    // A root inside another belongs to the outer one, with which it may move, as long as that reaches it.
    if (knownPath == path) return parent == WatchedFolders::none;
    return folders_.isRoot(known) && leadsTo(knownPath.empty() ? "/" : knownPath, folder);
}

void FolderVisitor::forget(WatchedFolders::Index folder, bool mayLive) {
    folders_.remove(folder, [&](MarkKey mark) { marks_.release(mark, mayLive); });
}

}  // namespace velmora
