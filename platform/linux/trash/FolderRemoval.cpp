#include "platform/linux/trash/FolderRemoval.h"

#include "platform/linux/posix/DirectoryReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace velmora {
namespace {

// Each level keeps a folder open; processes may have a thousand.
constexpr int deepestLevel = 100;

/// Gives the owner of an open folder every right to it. An opened-by-path descriptor has no mode to change; the name
/// that the kernel gives it has, and is no link to anywhere else.
void openUp(int folder) {
    struct stat status {};
    if (fstat(folder, &status) != 0 || status.st_uid != geteuid() || (status.st_mode & S_IRWXU) == S_IRWXU) return;
    const std::string itself = "/proc/self/fd/" + std::to_string(folder);
    static_cast<void>(chmod(itself.c_str(), (status.st_mode & 07777U) | S_IRWXU) == 0);
}

Descriptor enter(int parent, const char* name) {
    const Descriptor found = openInMount(parent, name, O_PATH | O_DIRECTORY);
    if (!found) return {};
    openUp(found.get());
    return Descriptor(openat(found.get(), ".", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

}  // namespace

std::vector<std::string> entryNames(int folder) {
    std::vector<std::string> names;
    DirectoryReader reader;
    if (lseek(folder, 0, SEEK_SET) < 0) return names;
    while (reader.fill(folder).value_or(false)) {
        while (const auto entry = reader.next())
            names.emplace_back(entry->name);
    }
    return names;
}

bool FolderRemoval::remove(const std::string& name) {
    bool whole = removeEntry(folder_, name.c_str(), 0);
    while (!movedUp_.empty()) {
        const std::string deep = std::move(movedUp_.back());
        movedUp_.pop_back();
        whole = removeEntry(folder_, deep.c_str(), 0) && whole;
    }
    return whole;
}

bool FolderRemoval::removeEntry(int parent, const char* name, int depth) {
    // Files are by far the most; asking what it is first would double the work.
    if (unlinkat(parent, name, 0) == 0 || errno == ENOENT) return true;
    if (unlinkat(parent, name, AT_REMOVEDIR) == 0) return true;
    if (errno == ENOTDIR || errno == EBUSY) return false;  // EBUSY: a mount
    if (depth == deepestLevel) return moveUp(parent, name);
    const Descriptor inside = enter(parent, name);
    if (!inside || !removeContents(inside.get(), depth + 1)) return false;
    return unlinkat(parent, name, AT_REMOVEDIR) == 0 || errno == ENOENT;
}

bool FolderRemoval::removeContents(int folder, int depth) {
    bool whole = true;
    for (const std::string& name : entryNames(folder))
        whole = removeEntry(folder, name.c_str(), depth) && whole;
    return whole;
}

/// A tree too deep to keep its folders open goes on at the top, where `remove` takes it up again.
bool FolderRemoval::moveUp(int parent, const char* name) {
    const std::string higher = ".velmora-" + std::to_string(getpid()) + "-" + std::to_string(moves_++);
    openUp(openInMount(parent, name, O_PATH | O_DIRECTORY).get());
    if (renameat2(parent, name, folder_, higher.c_str(), RENAME_NOREPLACE) != 0) return false;
    movedUp_.push_back(higher);
    return true;
}

}  // namespace velmora
