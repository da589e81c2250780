#pragma once

#include "platform/FileIcons.h"
#include "platform/linux/applications/IconThemes.h"

namespace velmora {

struct DesktopEnvironment;

/// The icons that applications name for themselves, and those of the other files' types.
class LinuxFileIcons final : public FileIcons {
  public:
    explicit LinuxFileIcons(const DesktopEnvironment& environment);

    [[nodiscard]] std::string find(const std::string& path, const std::vector<std::string>& themes,
                                   int pixels) const override;

  private:
    IconThemes installed_;
};

}  // namespace velmora
