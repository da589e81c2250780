#pragma once

#include "platform/Workspace.h"
#include "platform/linux/applications/DesktopEnvironment.h"

#include <memory>

namespace velmora {

/// Opens and launches as the desktop's own rules say: default applications, desktop entries, application bundles.
///
/// What it starts lives on by itself and begins in the home folder unless its entry says otherwise. Arguments reach the
/// program byte by byte; no shell reads them. Fails with: `std::exception` when nothing could be started.
class LinuxWorkspace final : public Workspace {
  public:
    LinuxWorkspace(Executor pool, DesktopEnvironment environment);

    [[nodiscard]] Task<> open(std::string path) override;
    [[nodiscard]] Task<> openFolder(std::string path) override;
    [[nodiscard]] Task<> openURL(std::string url) override;
    [[nodiscard]] Task<> openWith(std::string file, std::string application) override;
    [[nodiscard]] Task<FileHandlers> handlers(std::string path) override;
    [[nodiscard]] Task<> reveal(std::string path) override;
    [[nodiscard]] Task<> openApplication(std::string path, std::vector<std::string> arguments) override;

  private:
    Executor pool_;
    std::shared_ptr<const DesktopEnvironment> environment_;
};

}  // namespace velmora
