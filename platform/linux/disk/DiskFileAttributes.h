#pragma once

#include "platform/FileAttributeReading.h"
#include "platform/linux/posix/RootMounts.h"

#include <memory>

namespace velmora {

/// Reads the disk itself. Paths are text as `core/files/FileNames.h` has it and may be of any length. A link that leads
/// to where a look might wait for ever tells of itself.
class DiskFileAttributes final : public FileAttributeReading {
  public:
    explicit DiskFileAttributes(std::shared_ptr<RootMounts> mounts = std::make_shared<RootMounts>())
        : mounts_(std::move(mounts)) {}

    [[nodiscard]] std::optional<ScannedAttributes> attributes(const std::string& path) const override;

  private:
    std::shared_ptr<RootMounts> mounts_;
};

}  // namespace velmora
