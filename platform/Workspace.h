#pragma once

#include "core/async/Async.h"

#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// An application that can open a file.
struct FileHandler {
    std::string name;
    std::string path;  ///< of the application, as `Workspace::openApplication` takes it

    bool operator==(const FileHandler&) const = default;
};

/// The applications for one file.
struct FileHandlers {
    std::optional<std::string> defaultPath;  ///< the path of the one that opens it by default
    std::vector<FileHandler> all;            ///< most suitable first; the default may be among them
};

/// Opening things the way the desktop would.
///
/// Runs on: called from the main thread; the work is done elsewhere. Fails with: any exception; callers put it into
/// words.
class Workspace {
  public:
    virtual ~Workspace() = default;

    /// Shows a folder in the file manager, or opens a file with its default application. `path` is absolute.
    [[nodiscard]] virtual Task<> open(std::string path) = 0;

    /// Shows a folder in the file manager. `path` is absolute. "Downloads" in the home folder stands for the folder
    /// that the user has for downloads, "/Applications" for the one that holds the applications, wherever they are
    /// here.
    [[nodiscard]] virtual Task<> openFolder(std::string path) = 0;

    /// Opens an absolute address with the user's default application for it.
    [[nodiscard]] virtual Task<> openURL(std::string url) = 0;

    /// Opens a file with the application at `application`.
    [[nodiscard]] virtual Task<> openWith(std::string file, std::string application) = 0;

    /// The applications that can open the file or folder at `path`.
    [[nodiscard]] virtual Task<FileHandlers> handlers(std::string path) = 0;

    /// Shows the file manager with the item at `path` selected.
    [[nodiscard]] virtual Task<> reveal(std::string path) = 0;

    /// Launches the application at `path` (an application bundle in the sense of `ApplicationBundles`) with `arguments`
    /// as its arguments, passed on as they are. No arguments: launches or activates it.
    [[nodiscard]] virtual Task<> openApplication(std::string path, std::vector<std::string> arguments) = 0;
};

}  // namespace velmora
