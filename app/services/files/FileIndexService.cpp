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
    } catch (const Cancelled&) {
        throw;
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
    const std::uint64_t bookmark = co_await repository_.loadEventID();
    // Without a bookmark the last scan was not completed. One that is still to come was made by a clock that ran ahead,
    // and what changed since would be taken for known.
    const bool isBelieved = bookmark > 0 && bookmark <= disk_.watcher->currentEventID();
    if (fileCount_ == 0 || !isBelieved) {
        // First, so that the watcher reports what changes in folders that it has not come to when the scan has been
        // there.
        rebuild();
        startWatcher(changes_.bookmark());
        co_return;
    }
    changes_.startFrom(bookmark);
    startWatcher(bookmark);
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
    rescanTask_.cancel();
    flushTask_.cancel();
    disk_.watcher->stop();
    co_await rootChange_.finished();
    try {
        co_await saveBookmark();
        // NOLINTNEXTLINE(bugprone-empty-catch): the next start looks at a little more than it had to
    } catch (const std::exception&) {
    }
}

// Roots.

void FileIndexService::addRoot(std::string path) {
    changeRoots([this, path = std::move(path)] { return add(path); });
}

void FileIndexService::removeRoot(std::string id) {
    changeRoots([this, id = std::move(id)] { return remove(id); });
}

void FileIndexService::changeRoots(std::function<Task<>()> change) {
    VELMORA_ASSERT_MAIN();
    const auto inTurn = [self = shared_from_this(), before = rootChange_, change = std::move(change)]() -> Task<> {
        co_await before.finished();
        if (self->stopped_) co_return;
        std::exception_ptr failure;
        self->isChangingRoots_ = true;
        try {
            co_await change();
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        if (self->stopped_) co_return;  // what is missing of it is found by the next run, which has no bookmark
        self->isChangingRoots_ = false;
        if (failure) self->fallBehind(failure);
    };
    rootChange_ = spawn(main_, inTurn);
}

Task<> FileIndexService::add(std::string path) {
    // Cut off before its scan, the root would be taken for scanned if there were a bookmark.
    co_await repository_.saveEventID(0);
    co_await repository_.addRoot(path);
    roots_ = co_await repository_.roots();
    rebuild();
    restartWatcher();
}

Task<> FileIndexService::remove(std::string id) {
    const std::vector<IndexRoot> before = roots_;
    const auto hasId = [&](const IndexRoot& root) { return root.id == id; };
    const auto removed = std::find_if(before.begin(), before.end(), hasId);
    try {
        if (removed != before.end()) co_await takeOut(*removed);
        co_await repository_.removeRoot(id);
        roots_ = co_await repository_.roots();
    } catch (...) {
        roots_ = before;
        throw;
    }
    fileCount_ = co_await repository_.count();
    // Of a root and another one within it, the rows of the inner one have gone with either.
    const auto isInIt = [&](const IndexRoot& root) { return isAtOrBelow(root.path, removed->path); };
    const bool hasHoles =
        removed != before.end() && (covers(removed->path) || std::any_of(roots_.begin(), roots_.end(), isInIt));
    if (hasHoles) rebuild();
    restartWatcher();
    if (!hasHoles) showWatching();
}

/// Deletes the rows of a root, and sees to it that nothing writes them again.
Task<> FileIndexService::takeOut(IndexRoot root) {
    std::erase(roots_, root);
    const std::vector<RootScan> scans = rootScans_;
    for (const RootScan& scan : scans) {
        if (scan.path != root.path) continue;
        scan.task.cancel();
        co_await scan.task.finished();
    }
    // Cut off, the deletion would leave holes in a root that is still there. Behind whatever is being written already.
    co_await repository_.saveEventID(0);
    co_await repository_.deleteTree(root.path);
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
    if (!behind_.empty()) return showStatus(behind_);
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
