#pragma once

#include "core/Async.h"

#include <string>
#include <vector>

namespace velmora {

/// Opening things the way the desktop would.
///
/// Runs on: called from the main thread; the work is done elsewhere. Fails with: any exception; callers put it into
/// words.
class Workspace {
  public:
    virtual ~Workspace() = default;

    /// Shows a folder in the file manager, or opens a file with its default application. `path` is absolute.
    [[nodiscard]] virtual Task<> open(std::string path) = 0;

    /// Launches the application at `path` (an application bundle in the sense of `ApplicationBundles`) with `arguments`
    /// as its arguments, passed on as they are. No arguments: launches or activates it.
    [[nodiscard]] virtual Task<> openApplication(std::string path, std::vector<std::string> arguments) = 0;
};

}  // namespace velmora
