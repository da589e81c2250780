#pragma once

#include "platform/FileAttributeReading.h"

namespace velmora {

/// Reads the disk itself. Paths are text as `core/files/FileNames.h` has it and may be of any length.
class DiskFileAttributes final : public FileAttributeReading {
  public:
    [[nodiscard]] std::optional<ScannedAttributes> attributes(const std::string& path) const override;
};

}  // namespace velmora
