#pragma once

#include "platform/Platform.h"
#include "platform/qt/QtAlerts.h"
#include "platform/qt/QtFolderPanel.h"
#include "platform/qt/QtPasteboard.h"
#include "platform/qt/QtPopUpMenu.h"
#include "platform/qt/X11WindowManager.h"

namespace velmora {

/// What the toolkit does for the platform.
///
/// Runs on: the main thread, made after the application object.
class QtPlatform {
  public:
    /// `clipboard` reads what the toolkit cannot; it may be null and must outlive this.
    explicit QtPlatform(ClipboardReading* clipboard) : pasteboard_(clipboard) {}

    [[nodiscard]] Toolkit toolkit() { return {pasteboard_, alerts_, popUpMenu_, folderPanel_}; }
    [[nodiscard]] WindowManager& windowManager() { return windowManager_; }

  private:
    X11WindowManager windowManager_;
    QtPasteboard pasteboard_;
    QtAlerts alerts_{windowManager_};
    QtPopUpMenu popUpMenu_;
    QtFolderPanel folderPanel_;
};

}  // namespace velmora
