#pragma once

#include "platform/FileIcons.h"

namespace velmora {

/// The icons that applications name for themselves, and those of the other files' types.
class LinuxFileIcons final : public FileIcons {
  public:
    [[nodiscard]] FileIcon find(const std::string& path) const override;
};

}  // namespace velmora
