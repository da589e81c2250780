#pragma once

#include "core/async/Async.h"

#include <optional>
#include <string>

namespace velmora {

/// The words of a folder panel, and where it starts.
struct FolderPanelRequest {
    std::string title;
    std::string prompt;  ///< on the confirming button
    std::string message;
    std::string startFolder;  ///< absolute
};

/// The desktop's way of choosing a folder.
///
/// Runs on: the main thread; the call suspends, the loop goes on.
class FolderPanel {
  public:
    virtual ~FolderPanel() = default;

    /// Brings the program to the front and lets the user choose one existing folder: a sheet on the program's active
    /// window when there is one. Its absolute path, or nothing when the panel was dismissed.
    [[nodiscard]] virtual Task<std::optional<std::string>> chooseFolder(FolderPanelRequest request) = 0;
};

}  // namespace velmora
