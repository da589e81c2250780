#pragma once

#include "core/async/Clock.h"
#include "core/commands/Commands.h"
#include "platform/FolderPanel.h"
#include "platform/Pasteboard.h"
#include "platform/PopUpMenu.h"
#include "platform/Workspace.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// One file found by a search.
struct FileRecord {
    std::string name;
    std::string path;  ///< absolute; its identity. Bytes that are no UTF-8 are written as core/files/FileNames.h says
    bool isDirectory = false;
    std::int64_t size = 0;              ///< bytes
    std::optional<TimePoint> modified;  ///< absent when the index holds no time for it

    bool operator==(const FileRecord&) const = default;
};

/// What can be done with a file: open it, with another application too, show it, copy its path.
///
/// Runs on: the main thread; file-system look-ups happen on the worker pool. Lives in a `shared_ptr`. What it is made
/// of must outlive it and the actions it hands out. Fails with: `AppError` (recoverable).
class FileService final : public std::enable_shared_from_this<FileService> {
  public:
    FileService(Executor pool, Workspace& workspace, Pasteboard& pasteboard, PopUpMenu& menu, FolderPanel& panel,
                std::string home);

    /// The location a path means: a leading "~" is the home folder, "." and ".." are resolved textually. Fails with
    /// "This file no longer exists or is not accessible." when there is nothing.
    [[nodiscard]] Task<std::string> location(std::string path);

    /// Opens the item with its default application. Fails with "No application could open this file.", or as
    /// `location`.
    [[nodiscard]] Task<> open(std::string path);

    /// The other applications that can open the item, in the desktop's order. Fails as `location`.
    [[nodiscard]] Task<std::vector<FileHandler>> openWithHandlers(std::string path);

    /// Lets the user choose one of the first eight of them and opens the item with it; how that ends is not reported.
    /// Fails with "No other application can open this file.", or as `location`.
    [[nodiscard]] Task<> presentOpenWithMenu(std::string path);

    /// Shows the item selected in the file manager. Fails as `location`.
    [[nodiscard]] Task<> reveal(std::string path);

    /// Puts the path on the clipboard as it is. Fails with "Could not update the clipboard.".
    void copyPath(const std::string& path);

    /// One result for each record, in their order.
    [[nodiscard]] std::vector<ResultPointer> results(const std::vector<FileRecord>& records);

    /// Lets the user choose a folder to search; its path as the index writes it, or nothing when the panel was
    /// dismissed.
    [[nodiscard]] Task<std::optional<std::string>> chooseDirectory();

  private:
    [[nodiscard]] ResultPointer result(const FileRecord& record);

    Executor pool_;
    Workspace& workspace_;
    Pasteboard& pasteboard_;
    PopUpMenu& menu_;
    FolderPanel& panel_;
    std::string home_;
};

}  // namespace velmora
