#pragma once

#include "app/composition/AppServices.h"
#include "platform/Platform.h"

#include <functional>
#include <memory>

namespace velmora {

class PaletteController;
class PaletteState;
class StatusItem;
class WindowManager;
class FileIcons;

/// What the desktop offers the views, besides the services' platform.
struct ViewPlatform {
    WindowManager& windowManager;
    std::shared_ptr<const FileIcons> fileIcons;
};

/// The life of the program: start-up in order, the palette and the status item while it runs, shut-down in order.
///
/// Runs on: the main thread. Owns: the services, the palette's state and window, the status item.
class AppDelegate {
  public:
    /// `onTerminating` is called once, with the exit code, when the program begins to end.
    AppDelegate(Platform platform, ViewPlatform viewPlatform, bool showAtStart,
                std::function<void(int exitCode)> onTerminating);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    /// Begins the start-up; call once.
    void launch();

    /// Shows the palette, or hides it. Does nothing before start-up has finished.
    void toggle();

    /// Brings the palette to the front, now or as soon as start-up has finished.
    void show();

    /// Ends the program in order: pending work is cancelled, then the database closed, then the loop left. Later calls
    /// do nothing.
    void terminate(int exitCode = 0);

  private:
    [[nodiscard]] Task<> start();
    [[nodiscard]] Task<> createServices();
    void showFailure(const std::exception_ptr& failure);
    [[nodiscard]] Task<> stayWithoutPalette();
    [[nodiscard]] Task<> shutDown(int exitCode);

    Platform platform_;
    ViewPlatform viewPlatform_;
    bool showWhenReady_;
    std::function<void(int exitCode)> onTerminating_;
    bool terminating_ = false;
    TaskHandle startTask_;
    TaskHandle alert_;  // that it could not start
    TaskHandle paletteStart_;
    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteState> state_;
    std::unique_ptr<PaletteController> controller_;
    std::unique_ptr<StatusItem> status_;
};

}  // namespace velmora
