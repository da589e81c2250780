#include "app/storage/sqlite/PrivateFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace velmora {

namespace fs = std::filesystem;

void makePrivateFolder(const std::string& path) {
    fs::create_directories(fs::path(path).parent_path());
    // Private from its first moment, whatever the process's mask says.
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        throw fs::filesystem_error("The data folder cannot be made", path,
                                   std::error_code(errno, std::generic_category()));
    }
    fs::permissions(path, fs::perms::owner_all);
}

}  // namespace velmora
