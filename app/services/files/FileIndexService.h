#pragma once

#include "app/services/files/FileService.h"
#include "app/services/files/PendingChanges.h"
#include "app/storage/fileindex/FileIndexRepository.h"
#include "core/async/Clock.h"
#include "core/async/Signal.h"
#include "platform/FileAttributeReading.h"
#include "platform/FileEventWatching.h"
#include "platform/FileScanner.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// Keeps the filename index in step with the disk, and answers file searches from it.
///
/// Full scans walk every root; change events are gathered for a second and applied in batches. A newer scan supersedes
/// an older one, which stops at its next batch. What could not be written leaves the index behind the disk: until a
/// full scan, tried again and again, has been written whole, the bookmark stays and the status line says why.
///
/// Runs on: the main thread; walking, reading attributes and the database work elsewhere. Lives in a `shared_ptr`; its
/// tasks hold it weakly. Fails with: nothing but `search` (the query's and the database's failures); anything else
/// becomes the status line and a log line, and the next event, flush or scan goes on normally.
class FileIndexService final : public std::enable_shared_from_this<FileIndexService> {
  public:
    /// How the service sees the disk.
    struct Disk {
        std::shared_ptr<FileScanner> scanner;
        std::shared_ptr<FileEventWatching> watcher;
        std::shared_ptr<const FileAttributeReading> attributes;
    };

    /// The folders the service treats specially; absolute.
    struct Folders {
        std::string home;
        std::string data;  ///< the program's own; neither scanned nor followed
    };

    /// The folders that are neither scanned nor followed.
    [[nodiscard]] static std::vector<std::string> skippedPrefixes(const Folders& folders);

    FileIndexService(MainExecutor main, Executor pool, Clock& clock, FileIndexRepository repository, Disk disk,
                     const Folders& folders);
    FileIndexService(const FileIndexService&) = delete;
    FileIndexService& operator=(const FileIndexService&) = delete;

    /// Reads the roots (the default ones on a first start), watches them from where the last run stopped, and scans
    /// them when it cannot go on from there. Call once.
    [[nodiscard]] Task<> start();

    /// Ends scanning and watching and remembers how far events were followed. Call before the database closes.
    [[nodiscard]] Task<> stop();

    /// Scans every root anew, in place of a scan that is running.
    void rebuild();

    /// Adds a folder to index, watches it and scans everything anew. A leading "~" is the home folder. Begins when the
    /// changes of roots before it have ended; does nothing once the service has been stopped.
    void addRoot(std::string path);

    /// Removes a root and its rows, likewise.
    void removeRoot(std::string id);

    /// At most 100 files for a query text, inside `directory` when one is given. A blank text finds nothing.
    [[nodiscard]] Task<std::vector<FileRecord>> search(std::string text, std::optional<std::string> directory);

    [[nodiscard]] const std::vector<IndexRoot>& roots() const { return roots_; }
    [[nodiscard]] std::int64_t fileCount() const { return fileCount_; }
    [[nodiscard]] const std::string& statusText() const { return statusText_; }
    [[nodiscard]] bool isScanning() const { return isScanning_; }

    /// Called after a change of any of the four.
    [[nodiscard]] Subscription onChange(std::function<void()> callback) {
        return changed_.subscribe(std::move(callback));
    }

  private:
    static constexpr std::chrono::seconds firstRescanDelay{2};

    struct RootScan {
        std::string path;
        TaskHandle task;
    };

    [[nodiscard]] Task<> bootstrap();
    [[nodiscard]] Task<> backfill();
    void startWatcher(std::uint64_t sinceID);
    void restartWatcher();
    void onEvents(const std::vector<std::string>& paths, std::uint64_t lastEventID);
    void scheduleFlush();
    [[nodiscard]] Task<> flush();
    [[nodiscard]] Task<> apply(std::vector<std::string> batch);
    [[nodiscard]] Task<> saveBookmark();
    void fallBehind(const std::exception_ptr& failure);
    void scanAgainLater();
    void cancelScan();
    void startRootScans(int generation);
    [[nodiscard]] static Task<> scanRoots(std::weak_ptr<FileIndexService> weak, int generation);
    [[nodiscard]] static Task<> scanRoot(std::weak_ptr<FileIndexService> weak, std::string path, int generation);
    [[nodiscard]] static Task<> scanBatches(std::weak_ptr<FileIndexService> weak, std::string path, int generation);
    [[nodiscard]] Task<> finishScan(int generation);
    void changeRoots(std::function<Task<>()> change);
    [[nodiscard]] Task<> add(std::string path);
    [[nodiscard]] Task<> remove(std::string id);
    [[nodiscard]] Task<> takeOut(IndexRoot root);
    [[nodiscard]] bool covers(std::string_view path) const;
    void showStatus(std::string text);
    void showWatching();
    void showIndexing();
    /// Shows the exception that is being handled.
    void showFailure();

    MainExecutor main_;
    Executor pool_;
    Clock& clock_;
    FileIndexRepository repository_;
    Disk disk_;
    std::vector<std::string> defaultRoots_;
    SkipRule skipRule_;

    std::vector<IndexRoot> roots_;
    std::int64_t fileCount_ = 0;
    std::string statusText_;
    bool isScanning_ = false;
    Signal<> changed_;

    PendingChanges changes_;
    TaskHandle flushTask_;
    TaskHandle scanTask_;
    std::vector<RootScan> rootScans_;
    int scanGeneration_ = 0;
    std::string behind_;     // what kept something from being written, in words for the user
    bool isWhole_ = true;    // nothing has failed since the newest scan began
    TaskHandle rescanTask_;  // waits until it is time to scan again
    std::chrono::seconds rescanDelay_ = firstRescanDelay;
    TaskHandle rootChange_;
    bool isChangingRoots_ = false;
    bool stopped_ = false;
};

}  // namespace velmora
