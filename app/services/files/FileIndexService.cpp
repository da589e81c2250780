#include "app/services/files/FileIndexService.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

constexpr int searchLimit = 100;

std::string countText(std::int64_t count) {
    return text::formattedCount(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
}

}  // namespace

FileIndexService::FileIndexService(MainExecutor main, Executor pool, Clock& clock, FileIndexRepository repository,
                                   Disk disk, const Folders& folders)
    : main_(std::move(main)),
      pool_(std::move(pool)),
      clock_(clock),
      repository_(std::move(repository)),
      disk_(std::move(disk)),
      defaultRoots_{folders.home, "/Applications", "/System/Applications", "/Library"},
      skipRule_(skippedPrefixes(folders)) {}

std::vector<std::string> FileIndexService::skippedPrefixes(const Folders& folders) {
    return {folders.data, folders.home + "/Library/CloudStorage", folders.home + "/Library/Mobile Documents"};
}

// Starting and stopping.

Task<> FileIndexService::start() {
    VELMORA_ASSERT_MAIN();
    const auto self = shared_from_this();
    try {
        co_await bootstrap();
    } catch (...) {
        showFailure();
        AppLog::search.error("File index bootstrap failed");
    }
}

Task<> FileIndexService::bootstrap() {
    roots_ = co_await repository_.roots();
    if (roots_.empty()) {
        for (const std::string& root : defaultRoots_)
            co_await repository_.addRoot(root);
        roots_ = co_await repository_.roots();
    }
    fileCount_ = co_await repository_.count();
    pendingEventID_ = co_await repository_.loadEventID();
    coveredEventID_ = pendingEventID_;
    startWatcher(pendingEventID_);
    // Without a bookmark no scan has ever been completed.
    if (fileCount_ == 0 || pendingEventID_ == 0) {
        rebuild();
        co_return;
    }
    showWatching();
    const bool exists = co_await repository_.ftsExists();
    if (!exists) co_return;
    const bool done = co_await repository_.ftsBackfillDone();
    if (!done) spawn(main_, [self = shared_from_this()] { return self->backfill(); });
}

Task<> FileIndexService::backfill() {
    showStatus("Preparing search index…");
    try {
        co_await repository_.rebuildFTS();
        co_await repository_.markFTSBackfillDone();
    } catch (const Cancelled&) {
        co_return;
    } catch (const std::exception&) {
        AppLog::search.error("FTS backfill failed");
        co_return;
    }
    showWatching();
    AppLog::search.info("FTS trigram index ready");
}

Task<> FileIndexService::stop() {
    VELMORA_ASSERT_MAIN();
    const auto self = shared_from_this();
    stopped_ = true;
    cancelScan();
    flushTask_.cancel();
    disk_.watcher->stop();
    // Paths that were seen but not applied must be seen again by the next run.
    if (pendingPaths_.empty() && !isFlushing_ && !replayAfterScan_) coveredEventID_ = pendingEventID_;
    try {
        if (!isScanning_) co_await repository_.saveEventID(coveredEventID_);
        // NOLINTNEXTLINE(bugprone-empty-catch): the next start looks at a little more than it had to
    } catch (const std::exception&) {
    }
}

// Roots.

void FileIndexService::addRoot(std::string path) {
    spawn(main_, [self = shared_from_this(), path = std::move(path)] { return self->add(path); });
}

Task<> FileIndexService::add(std::string path) {
    try {
        co_await repository_.addRoot(path);
        roots_ = co_await repository_.roots();
        restartWatcher();
        rebuild();
    } catch (...) {
        showFailure();
    }
}

void FileIndexService::removeRoot(std::string id) {
    spawn(main_, [self = shared_from_this(), id = std::move(id)] { return self->remove(id); });
}

Task<> FileIndexService::remove(std::string id) {
    try {
        const auto known =
            std::find_if(roots_.begin(), roots_.end(), [&](const IndexRoot& root) { return root.id == id; });
        if (known != roots_.end()) {
            const std::string path = known->path;
            co_await repository_.deleteTree(path);
        }
        co_await repository_.removeRoot(id);
        roots_ = co_await repository_.roots();
        fileCount_ = co_await repository_.count();
        restartWatcher();
        showWatching();
    } catch (...) {
        showFailure();
    }
}

// Searching and reporting.

Task<std::vector<FileRecord>> FileIndexService::search(std::string text, std::optional<std::string> directory) {
    std::vector<FileRecord> records;
    if (text::trimmed(text).empty()) co_return records;
    std::vector<IndexedFile> files = co_await repository_.search(std::move(text), std::move(directory), searchLimit);
    records.reserve(files.size());
    for (IndexedFile& file : files) {
        const auto modified = file.modified > 0 ? std::optional(timeFromSeconds(file.modified)) : std::nullopt;
        records.push_back({std::move(file.name), std::move(file.path), file.isDirectory, file.size, modified});
    }
    co_return records;
}

void FileIndexService::showStatus(std::string text) {
    statusText_ = std::move(text);
    changed_.emit();
}

void FileIndexService::showWatching() {
    std::string status = "Watching · " + countText(fileCount_) + " files";
    const std::size_t swept = disk_.watcher->sweptFolders();
    if (swept > 0) status += " · " + text::formattedCount(swept) + " folders checked every minute";
    showStatus(std::move(status));
}

void FileIndexService::showIndexing() {
    showStatus("Indexing · " + countText(fileCount_) + " files");
}

void FileIndexService::showFailure() {
    showStatus(AppError::friendly(std::current_exception()));
}

}  // namespace velmora
