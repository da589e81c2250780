#pragma once

#include "app/services/files/FileService.h"
#include "app/storage/fileindex/FileIndexRepository.h"
#include "core/async/Clock.h"
#include "core/async/Signal.h"
#include "platform/FileAttributeReading.h"
#include "platform/FileEventWatching.h"
#include "platform/FileScanner.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace velmora {

/// Keeps the filename index in step with the disk, and answers file searches from it.
///
/// Full scans walk every root; change events are gathered for a second and applied in batches. A newer scan supersedes
/// an older one, which stops at its next batch.
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

    /// How the paths begin that are neither scanned nor followed.
    [[nodiscard]] static std::vector<std::string> skippedPrefixes(const Folders& folders);

    FileIndexService(MainExecutor main, Executor pool, Clock& clock, FileIndexRepository repository, Disk disk,
                     const Folders& folders);
    FileIndexService(const FileIndexService&) = delete;
    FileIndexService& operator=(const FileIndexService&) = delete;

    /// Reads the roots (the default ones on a first start), watches them from where the last run stopped, and scans
    /// them when the index is empty. Call once.
    [[nodiscard]] Task<> start();

    /// Ends scanning and watching and remembers how far events were seen. Call before the database closes.
    [[nodiscard]] Task<> stop();

    /// Scans every root anew, in place of a scan that is running.
    void rebuild();

    /// Adds a folder to index, watches it and scans everything anew. A leading "~" is the home folder.
    void addRoot(std::string path);

    /// Removes a root and its rows.
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
    [[nodiscard]] Task<> bootstrap();
    [[nodiscard]] Task<> backfill();
    void startWatcher(std::uint64_t sinceID);
    void restartWatcher();
    void restartWatcherFrom(std::uint64_t sinceID);
    void onEvents(const std::vector<std::string>& paths, std::uint64_t lastEventID);
    void scheduleFlush();
    [[nodiscard]] Task<> flush();
    [[nodiscard]] Task<> apply(std::vector<std::string> batch);
    void cancelScan();
    [[nodiscard]] static Task<> scanRoots(std::weak_ptr<FileIndexService> weak, int generation);
    [[nodiscard]] static Task<> scanRoot(std::weak_ptr<FileIndexService> weak, std::string path, int generation);
    [[nodiscard]] static Task<> scanBatches(std::weak_ptr<FileIndexService> weak, std::string path, int generation);
    [[nodiscard]] Task<> finishScan(std::uint64_t begun);
    [[nodiscard]] Task<> add(std::string path);
    [[nodiscard]] Task<> remove(std::string id);
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

    TaskHandle scanTask_;
    std::vector<TaskHandle> rootScans_;
    TaskHandle flushTask_;
    bool isFlushing_ = false;
    std::unordered_set<std::string> pendingPaths_;
    std::uint64_t pendingEventID_ = 0;  // the newest event seen
    std::uint64_t coveredEventID_ = 0;  // the newest event up to which every path has been applied
    bool replayAfterScan_ = false;
    int scanGeneration_ = 0;
    bool stopped_ = false;
};

}  // namespace velmora
