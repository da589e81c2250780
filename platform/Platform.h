#pragma once

#include "core/async/Clock.h"
#include "platform/Paths.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

class Alerts;
class ApplicationBundles;
class ChildProcesses;
class CredentialStore;
class FileAttributeReading;
class FileEventWatching;
class FileScanner;
class FolderPanel;
class FrontmostApplication;
class HttpClient;
class IndexReading;
class Pasteboard;
class PopUpMenu;
class Power;
class ScreenLock;
class Trash;
class Workspace;

/// The part of the desktop that the windows' toolkit provides.
struct Toolkit {
    Pasteboard& pasteboard;
    Alerts& alerts;
    PopUpMenu& popUpMenu;
    FolderPanel& folderPanel;
};

/// Everything the program needs of the desktop it runs on. The entry makes it; what it refers to outlives every
/// service, and the main executor also the threads of the pool and the clock.
struct Platform {
    MainExecutor main;
    // Worker pools, for actors. Looking at a file can take for ever where its file system hangs, which no call can know
    // beforehand: such work has threads of its own, and so has the database, which must always get on.
    Executor pool;     ///< everything else that blocks, for bounded time
    Executor disk;     ///< looking at and opening files of the user's
    Executor storage;  ///< the database
    Executor secrets;  ///< the credential store, which may wait for the user
    Clock& clock;
    Paths paths;
    Workspace& workspace;
    Pasteboard& pasteboard;
    FrontmostApplication& frontmost;
    Alerts& alerts;
    PopUpMenu& popUpMenu;
    FolderPanel& folderPanel;
    ChildProcesses& childProcesses;
    Power& power;
    ScreenLock& screenLock;
    Trash& trash;
    CredentialStore& credentials;
    HttpClient& http;
    std::shared_ptr<const ApplicationBundles> applicationBundles;
    std::shared_ptr<FileScanner> fileScanner;
    /// Makes the watcher of the disk, which compares with the index what it missed and stays out of the folders
    /// `skipPrefixes`.
    std::function<std::shared_ptr<FileEventWatching>(std::shared_ptr<IndexReading>,
                                                     std::vector<std::string> skipPrefixes)>
        makeFileEvents;
    std::shared_ptr<const FileAttributeReading> fileAttributes;
    /// Where the tool that lists and runs shortcuts may be: absolute paths, the best one first.
    std::vector<std::string> shortcutsTools;
    /// The server that the environment names for the assistant, whatever it is; empty for none.
    std::string responsesURL;
};

}  // namespace velmora
