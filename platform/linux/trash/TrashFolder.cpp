#include "platform/linux/trash/TrashFolder.h"

#include "platform/linux/posix/MountTable.h"
#include "platform/linux/trash/FolderRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string_view>

namespace velmora {
namespace {

constexpr std::string_view noteSuffix = ".trashinfo";

std::optional<struct stat> statusOf(const Descriptor& folder) {
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0) return std::nullopt;
    return status;
}

bool belongsTo(const Descriptor& folder, uid_t user) {
    const auto status = statusOf(folder);
    return status && status->st_uid == user;
}

void add(std::vector<TrashFolder>& all, Descriptor folder, uid_t user) {
    if (belongsTo(folder, user)) all.emplace_back(std::move(folder));
}

/// The note on a thing has the thing's name and a suffix.
std::string thingOf(std::string_view note) {
    if (!note.ends_with(noteSuffix)) return {};
    return std::string(note.substr(0, note.size() - noteSuffix.size()));
}

Descriptor openInside(int folder, const char* name) {
    return openInMount(folder, name, O_RDONLY | O_DIRECTORY);
}

Descriptor openEntry(const std::string& path, int flags) {
    const std::size_t slash = path.rfind('/');
    const Descriptor folder = openPath(path.substr(0, slash), O_PATH | O_DIRECTORY);
    return folder ? openInMount(folder.get(), path.c_str() + slash + 1, flags) : Descriptor();
}

bool exists(int folder, const std::string& name) {
    return openInMount(folder, name.c_str(), O_PATH) || errno != ENOENT;
}

}  // namespace

std::vector<TrashFolder> TrashFolder::find(const std::string& home, const std::vector<std::string>& volumes,
                                           uid_t user) {
    std::vector<TrashFolder> all;
    add(all, openEntry(home, O_RDONLY | O_DIRECTORY), user);
    const std::string number = std::to_string(user);
    for (const std::string& volume : volumes) {
        const Descriptor top = openPath(volume, O_PATH | O_DIRECTORY);
        if (!top) continue;
        const Descriptor shared = openInside(top.get(), ".Trash");
        const auto status = statusOf(shared);
        if (status && (status->st_mode & S_ISVTX) != 0) add(all, openInside(shared.get(), number.c_str()), user);
        add(all, openInside(top.get(), (".Trash-" + number).c_str()), user);
    }
    return all;
}

bool TrashFolder::isLeftOut(const std::string& home) {
    const Descriptor entry = openEntry(home, O_PATH);
    if (!entry) return errno != ENOENT;
    const auto status = statusOf(entry);
    return !status || !S_ISDIR(status->st_mode);
}

bool TrashFolder::empty() const {
    bool whole = true;
    const Descriptor files = openInside(folder_.get(), "files");
    const Descriptor info = openInside(folder_.get(), "info");
    if (files) {
        FolderRemoval removal(files.get());
        for (const std::string& name : entryNames(files.get())) {
            const bool gone = removal.remove(name);
            if (gone && info) unlinkat(info.get(), (name + std::string(noteSuffix)).c_str(), 0);
            whole = whole && gone;
        }
    } else {
        whole = !exists(folder_.get(), "files");
    }
    if (info) {
        // What is left are notes on things that are gone, and those on things that would not go.
        FolderRemoval removal(info.get());
        for (const std::string& note : entryNames(info.get())) {
            const std::string thing = thingOf(note);
            const bool isNeeded = !thing.empty() && files && exists(files.get(), thing);
            if (!isNeeded) whole = removal.remove(note) && whole;
        }
    } else {
        whole = whole && !exists(folder_.get(), "info");
    }
    // Whoever keeps it makes it anew.
    if (unlinkat(folder_.get(), "directorysizes", 0) != 0 && errno != ENOENT) whole = false;
    return whole;
}

std::vector<std::string> mountedVolumes() {
    const Descriptor root = openPath("/", O_PATH | O_DIRECTORY);
    const MountTable table("/", root.get());
    std::vector<std::string> volumes{"/"};
    for (const auto& [path, mount] : table.mounts()) {
        if (table.stallingMount(path).empty() && path != volumes.back()) volumes.push_back(path);
    }
    return volumes;
}

}  // namespace velmora
