#include "app/storage/sqlite/PrivateFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace velmora {

namespace fs = std::filesystem;

void makePrivateFolder(const std::string& path) {
    // Every folder that is made is private from its first moment, whatever the process's mask says.
    fs::path made;
    for (const fs::path& component : fs::path(path)) {
        made /= component;
        if (mkdir(made.c_str(), S_IRWXU) == 0) continue;
        const std::error_code failure(errno, std::generic_category());
        if (!fs::is_directory(made)) throw fs::filesystem_error("The data folder cannot be made", path, failure);
    }
    fs::permissions(path, fs::perms::owner_all);
}

}  // namespace velmora
