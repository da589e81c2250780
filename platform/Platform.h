#pragma once

#include "core/Clock.h"
#include "platform/Paths.h"

#include <functional>
#include <memory>

namespace velmora {

class Alerts;
class ApplicationBundles;
class FileAttributeReading;
class FileEventWatching;
class FileScanner;
class FolderPanel;
class FrontmostApplication;
class IndexReading;
class Pasteboard;
class PopUpMenu;
class Workspace;

/// Everything the program needs of the desktop it runs on. The entry makes it; what it refers to outlives every
/// service, and the main executor also the threads of the pool and the clock.
struct Platform {
    MainExecutor main;
    Executor pool;  ///< the worker pool, for actors
    Clock& clock;
    Paths paths;
    Workspace& workspace;
    Pasteboard& pasteboard;
    FrontmostApplication& frontmost;
    Alerts& alerts;
    PopUpMenu& popUpMenu;
    FolderPanel& folderPanel;
    std::shared_ptr<const ApplicationBundles> applicationBundles;
    std::shared_ptr<FileScanner> fileScanner;
    /// Makes the watcher of the disk, which compares with the index what it missed.
    std::function<std::shared_ptr<FileEventWatching>(std::shared_ptr<IndexReading>)> makeFileEvents;
    std::shared_ptr<const FileAttributeReading> fileAttributes;
};

}  // namespace velmora
