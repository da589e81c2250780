#include "platform/linux/posix/Examine.h"

#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <algorithm>

namespace velmora {
namespace {

using namespace std::chrono;

/// Some file systems keep any 64-bit number of seconds.
FileTime fileTime(const statx_timestamp& time) {
    constexpr std::int64_t limitSeconds = 9'000'000'000'000;
    const seconds whole(std::clamp<std::int64_t>(time.tv_sec, -limitSeconds, limitSeconds));
    return FileTime(whole + floor<microseconds>(nanoseconds(time.tv_nsec)));
}

std::optional<Examined> examine(int folder, const char* name, int flags) {
    constexpr unsigned wanted = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME;
    struct statx status;
    if (statx(folder, name, flags | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, wanted, &status) != 0) return std::nullopt;
    return Examined{.isFolder = S_ISDIR(status.stx_mode),
                    .isLink = S_ISLNK(status.stx_mode),
                    .sizeBytes = static_cast<std::int64_t>(status.stx_size),
                    .modified = fileTime(status.stx_mtime),
                    .changed = fileTime(status.stx_ctime),
                    .identity = {(std::uint64_t{status.stx_dev_major} << 32) | status.stx_dev_minor, status.stx_ino}};
}

}  // namespace

std::optional<Examined> examineEntry(int folder, const char* name) {
    return examine(folder, name, AT_SYMLINK_NOFOLLOW);
}

std::optional<Examined> examineOpen(int descriptor) {
    return examine(descriptor, "", AT_EMPTY_PATH);
}

std::optional<Examined> examinePath(const std::string& path) {
    if (path.find('\0') != std::string::npos) return std::nullopt;
    if (path.size() < PATH_MAX) return examineEntry(AT_FDCWD, path.c_str());
    const Descriptor entry = openPath(path, O_PATH | O_NOFOLLOW);
    return entry ? examineOpen(entry.get()) : std::nullopt;
}

}  // namespace velmora
