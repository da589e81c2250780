#pragma once

#include "core/async/Async.h"

#include <string>
#include <utility>

namespace velmora {

class Power;
class ScreenLock;
class Trash;
class Workspace;

/// The few operations on the desktop session that the palette offers as built-in commands.
///
/// Runs on: the main thread; what takes time is done elsewhere. Fails with: `AppError`. What it works with must outlive
/// it and the operations it started.
class SystemService {
  public:
    SystemService(Workspace& workspace, Power& power, ScreenLock& screenLock, Trash& trash, std::string home)
        : workspace_(workspace), power_(power), screenLock_(screenLock), trash_(trash), home_(std::move(home)) {}

    /// Shows a folder in the file manager, as `Workspace::openFolder` does. A leading "~" stands for the home folder.
    /// Fails with "Finder could not open this folder."
    [[nodiscard]] Task<> openDirectory(std::string path);

    /// Puts the computer to sleep. Fails (permission) with "Power management is unavailable." or "macOS did not allow
    /// this sleep request."
    [[nodiscard]] Task<> sleep();

    /// Deletes what is in the Trash. Fails (permission) with "Finder could not empty the Trash. Check Automation
    /// permissions and try again." when something is left.
    [[nodiscard]] Task<> emptyTrash();

    /// Asks for the screen to be locked. Fails with "Enable Velmora in System Settings → Privacy & Security →
    /// Accessibility to lock the screen." (permission) when that is refused, and "Could not create the lock-screen
    /// event." (toolExecution) when there is nobody to ask.
    [[nodiscard]] Task<> lockScreen();

  private:
    Workspace& workspace_;
    Power& power_;
    ScreenLock& screenLock_;
    Trash& trash_;
    std::string home_;
};

}  // namespace velmora
