#include "platform/linux/disk/DiskFileAttributes.h"

#include "core/files/FileNames.h"

namespace velmora {

std::optional<ScannedAttributes> DiskFileAttributes::attributes(const std::string& path) const {
    const auto found = mounts_->examine(fileNameBytes(path));
    if (!found) return std::nullopt;
    const auto wholeSeconds = std::chrono::floor<std::chrono::seconds>(found->modified);
    return ScannedAttributes{found->isFolder, found->sizeBytes, secondsSince1970(wholeSeconds)};
}

}  // namespace velmora
