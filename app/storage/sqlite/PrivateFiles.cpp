#include "app/storage/sqlite/PrivateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace velmora {
namespace {

namespace fs = std::filesystem;

constexpr mode_t ownerOnly = 0600;

/// Takes the permissions of others away. False when there is no such file.
bool takeFromOthers(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const mode_t kept = status.st_mode & ownerOnly;
    // Best effort: where it is refused (another owner, a file system without permissions) the file is still usable.
    if ((status.st_mode & 0777U) != kept) static_cast<void>(::chmod(path.c_str(), kept));
    return true;
}

}  // namespace

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

PrivateFile makePrivateFile(const std::string& path) {
    // A relative path could be one of SQLite's special names, which are not files.
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) return PrivateFile::refused;
    const int created = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly);
    if (created >= 0) {
        ::close(created);
        return PrivateFile::made;
    }
    // An existing file is never opened here: closing any descriptor of it would drop the locks that another connection
    // of this process holds.
    if (errno != EEXIST || !takeFromOthers(path)) return PrivateFile::refused;
    for (const char* const side : {"-wal", "-shm"})
        takeFromOthers(path + side);
    return PrivateFile::found;
}

}  // namespace velmora
