#include "platform/linux/disk/DiskFileAttributes.h"

#include "core/files/FileNames.h"
#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

namespace velmora {
namespace {

bool examine(const std::string& path, struct stat& status) {
    if (path.size() < PATH_MAX) return stat(path.c_str(), &status) == 0;
    const Descriptor entry = openPath(path, O_PATH);
    return entry && fstat(entry.get(), &status) == 0;
}

}  // namespace

std::optional<ScannedAttributes> DiskFileAttributes::attributes(const std::string& path) const {
    struct stat status;
    if (path.find('\0') != std::string::npos || !examine(fileNameBytes(path), status)) return std::nullopt;
    return ScannedAttributes{S_ISDIR(status.st_mode), status.st_size, static_cast<double>(status.st_mtim.tv_sec)};
}

}  // namespace velmora
