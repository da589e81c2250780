#include "platform/linux/disk/FolderWalk.h"

#include "core/AppError.h"
#include "core/files/FileNames.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace velmora {
namespace {

AppError unreadableRoot() {
    return AppError::recoverable("The index folder could not be read.");
}

Descriptor openRoot(const std::string& root) {
    if (!root.starts_with('/')) throw unreadableRoot();
    Descriptor folder = openPath(root, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
    if (!folder) throw unreadableRoot();
    return folder;
}

/// Without slashes at its end; "" stands for the root of everything, so that a path is always folder + "/" + name.
std::string withoutTrailingSlashes(std::string path) {
    while (path.ends_with('/'))
        path.pop_back();
    return path;
}

}  // namespace

FolderWalk::FolderWalk(const std::string& root, SkipRule skipRule)
    : path_(fileNameText(withoutTrailingSlashes(root))),
      mounts_(path_.empty() ? "/" : withoutTrailingSlashes(root), openRoot(root).get()),
      skipRule_(std::move(skipRule)) {
    Descriptor folder = openRoot(root);
    const auto self = examineOpen(folder.get());
    if (!self) throw unreadableRoot();
    push(std::move(folder), self->identity);
}

std::vector<IndexedFile> FolderWalk::next(std::size_t limit, const std::function<bool()>& stopped) {
    constexpr unsigned stepsBetweenLooks = 64;
    std::vector<IndexedFile> files;
    for (unsigned step = 1; files.size() < limit && !frames_.empty(); ++step) {
        if (step % stepsBetweenLooks == 0 && stopped()) break;
        advance(files);
    }
    return files;
}

/// One entry listed, one folder entered or left, or one buffer read. The entries of a buffer come before the folders
/// among them, so that there is only one buffer.
void FolderWalk::advance(std::vector<IndexedFile>& files) {
    if (const auto entry = reader_.next()) return examine(*entry, files);
    Frame& top = frames_.back();
    if (!top.toEnter.empty()) return enterNext();
    if (!top.exhausted) return readOn(top);
    leave();
}

void FolderWalk::examine(const DirectoryReader::Entry& entry, std::vector<IndexedFile>& files) {
    Frame& top = frames_.back();
    top.position = entry.next;
    std::string name = fileNameText(entry.name);
    std::string path;
    path.reserve(path_.size() + 1 + name.size());
    path.append(path_).append(1, '/').append(name);
    if (skipRule_.skips(path)) return;

    if (entry.mayBeFolder) mounts_.refresh();
    if (entry.mayBeFolder && mounts_.isBlocked(fileNameBytes(path))) {
        files.push_back({std::move(path), std::move(name), true, 0, 0});
        return;
    }
    const auto found = examineEntry(top.folder.get(), entry.terminatedName);
    const bool isFolder = found ? found->isFolder : entry.mayBeFolder;
    if (isFolder && !isPackage(name))
        top.toEnter.push_back({std::string(entry.name), found ? found->identity : FileIdentity{}});
    if (!found) return;
    const std::int64_t size = isFolder ? 0 : found->sizeBytes;
    files.push_back({std::move(path), std::move(name), isFolder, size, secondsSince1970(found->modified)});
}

void FolderWalk::readOn(Frame& frame) {
    const auto more = reader_.fill(frame.folder.get());
    if (!more && frames_.size() == 1) throw unreadableRoot();
    frame.exhausted = !more.value_or(false);
}

void FolderWalk::enterNext() {
    Frame& top = frames_.back();
    const Subfolder next = std::move(top.toEnter.back());
    top.toEnter.pop_back();
    if (isAmongAncestors(next.identity)) return;  // a mount that leads back to its own outside
    Descriptor folder = openSubfolder(top.folder.get(), next.name.c_str());
    if (!folder) return;
    path_.append(1, '/').append(fileNameText(next.name));
    push(std::move(folder), next.identity);
}

void FolderWalk::push(Descriptor folder, FileIdentity identity) {
    // The root stays open, and so do the folders on top.
    if (frames_.size() >= maximumOpenFolders) frames_[frames_.size() - maximumOpenFolders + 1].folder.reset();
    Frame frame;
    frame.folder = std::move(folder);
    frame.identity = identity;
    frame.pathBytes = path_.size();
    frames_.push_back(std::move(frame));
}

bool FolderWalk::isAmongAncestors(const FileIdentity& identity) const {
    return std::any_of(frames_.begin(), frames_.end(),
                       [&](const Frame& frame) { return frame.identity == identity && identity.inode != 0; });
}

void FolderWalk::leave() {
    const Descriptor left = std::move(frames_.back().folder);
    frames_.pop_back();
    if (frames_.empty()) return;
    Frame& top = frames_.back();
    path_.resize(top.pathBytes);
    if (top.folder) return;
    top.folder = openSubfolder(left.get(), "..");
    const auto self = top.folder ? examineOpen(top.folder.get()) : std::nullopt;
    const bool isSame = self && self->identity == top.identity;
    if (isSame && lseek(top.folder.get(), top.position, SEEK_SET) == top.position) return;
    // The tree was moved while it was walked. Its new place reports it; here there is nothing more to find.
    top.toEnter.clear();
    top.exhausted = true;
}

}  // namespace velmora
