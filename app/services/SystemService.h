#pragma once

#include "platform/Workspace.h"

#include <string>

namespace velmora {

/// The few operations on the desktop session that the palette offers as built-in commands.
///
/// Runs on: the main thread. Fails with: `AppError`. The workspace must outlive it and the operations it started.
class SystemService {
  public:
    SystemService(Workspace& workspace, std::string home) : workspace_(workspace), home_(std::move(home)) {}

    /// Shows a folder in the file manager. A leading "~" stands for the home folder. Fails with "Finder could not open
    /// this folder."
    [[nodiscard]] Task<> openDirectory(std::string path);

  private:
    Workspace& workspace_;
    std::string home_;
};

}  // namespace velmora
