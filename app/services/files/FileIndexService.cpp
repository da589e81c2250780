#include "app/services/files/FileIndexService.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view eventPrefix = "/System/Volumes/Data";
constexpr auto flushDelay = 1s;
constexpr std::size_t pathsPerFlush = 4000;
constexpr std::size_t pendingLimit = 20'000;
constexpr int searchLimit = 100;

std::string countText(std::int64_t count) {
    return text::formattedCount(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
}

/// What a batch of changed paths turned out to be.
struct Examined {
    std::vector<IndexedFile> found;
    std::vector<std::string> gone;
};

Examined examine(const std::vector<std::string>& paths, const FileAttributeReading& attributes) {
    Examined examined;
    for (const std::string& path : paths) {
        const auto read = attributes.attributes(path);
        if (!read) {
            examined.gone.push_back(path);
            continue;
        }
        IndexedFile file;
        file.path = path;
        file.name = path.substr(path.rfind('/') + 1);
        file.isDirectory = read->isDirectory;
        file.size = read->size;
        file.modified = read->modified;
        examined.found.push_back(std::move(file));
    }
    return examined;
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
      skippedPrefixes_(skippedPrefixes(folders)) {}

std::vector<std::string> FileIndexService::skippedPrefixes(const Folders& folders) {
    return {folders.data, folders.home + "/Library/CloudStorage", folders.home + "/Library/Mobile Documents"};
}

// Starting and stopping.

Task<> FileIndexService::start() {
    VELMORA_ASSERT_MAIN();
    const auto self = shared_from_this();
    std::exception_ptr failure;
    try {
        co_await bootstrap();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure) co_return;
    showFailure(failure);
    AppLog::search.error("File index bootstrap failed");
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

// Live changes.

void FileIndexService::startWatcher(std::uint64_t sinceID) {
    std::vector<std::string> paths;
    paths.reserve(roots_.size());
    for (const IndexRoot& root : roots_)
        paths.push_back(root.path);
    try {
        disk_.watcher->start(std::move(paths), sinceID,
                             [weak = weak_from_this()](const std::vector<std::string>& changed, std::uint64_t id) {
                                 if (const auto self = weak.lock()) self->takeIn(changed, id);
                             });
    } catch (...) {
        showStatus("Indexed · live updates unavailable (" + AppError::friendly(std::current_exception()) + ")");
    }
}

void FileIndexService::restartWatcher() {
    restartWatcherFrom(pendingPaths_.empty() && !isFlushing_ ? pendingEventID_ : coveredEventID_);
}

void FileIndexService::restartWatcherFrom(std::uint64_t sinceID) {
    disk_.watcher->stop();
    startWatcher(sinceID);
}

bool FileIndexService::isSkipped(std::string_view path) const {
    return std::any_of(skippedPrefixes_.begin(), skippedPrefixes_.end(),
                       [&](const std::string& prefix) { return path.starts_with(prefix); });
}

void FileIndexService::takeIn(const std::vector<std::string>& paths, std::uint64_t lastEventID) {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    pendingEventID_ = std::max(pendingEventID_, lastEventID);
    if (paths.empty() && !isScanning_) showWatching();
    const std::size_t before = pendingPaths_.size();
    for (std::string_view path : paths) {
        if (path.starts_with(eventPrefix)) path.remove_prefix(eventPrefix.size());
        if (!isSkipped(path)) pendingPaths_.emplace(path);
    }
    if (pendingPaths_.size() == before) return;
    if (pendingPaths_.size() <= pendingLimit) return scheduleFlush();
    pendingPaths_.clear();
    if (!isScanning_) return rebuild();
    // The scan may already have passed what changed; it is replayed from the disk once the scan is through.
    replayAfterScan_ = true;
}

void FileIndexService::scheduleFlush() {
    if (stopped_ || !flushTask_.done()) return;
    flushTask_ = spawn(main_, [weak = weak_from_this(), &clock = clock_]() -> Task<> {
        co_await clock.sleep(flushDelay);
        if (const auto self = weak.lock()) co_await self->flush();
        if (const auto self = weak.lock()) {
            self->flushTask_ = {};
            if (!self->pendingPaths_.empty()) self->scheduleFlush();
        }
    });
}

Task<> FileIndexService::flush() {
    if (isFlushing_ || pendingPaths_.empty()) co_return;
    isFlushing_ = true;
    std::vector<std::string> batch;
    while (!pendingPaths_.empty() && batch.size() < pathsPerFlush) {
        batch.push_back(std::move(pendingPaths_.extract(pendingPaths_.begin()).value()));
    }
    const std::optional<std::uint64_t> covered = pendingPaths_.empty() ? std::optional(pendingEventID_) : std::nullopt;
    bool failed = false;
    try {
        co_await apply(batch);
        if (covered && !replayAfterScan_) {
            coveredEventID_ = *covered;
            // While a scan runs, there is no bookmark: cut off, it has to be done again.
            if (!isScanning_) co_await repository_.saveEventID(coveredEventID_);
        }
        fileCount_ = co_await repository_.count();
    } catch (const Cancelled&) {
        pendingPaths_.insert(batch.begin(), batch.end());
    } catch (const std::exception&) {
        failed = true;
    }
    isFlushing_ = false;
    if (failed) {
        AppLog::search.error("File index update failed");
    } else if (!isScanning_) {
        showWatching();
    }
}

Task<> FileIndexService::apply(std::vector<std::string> batch) {
    Actor reader(pool_);
    const auto read = [&batch, attributes = disk_.attributes.get()] { return examine(batch, *attributes); };
    const Examined examined = co_await reader.run(read);
    co_await repository_.upsert(examined.found);
    const std::set<std::string> folders = co_await repository_.directories(examined.gone);
    co_await repository_.deletePaths(examined.gone);
    const std::vector<std::string> trees(folders.begin(), folders.end());
    co_await repository_.deleteTrees(trees);
}

// Roots.

void FileIndexService::addRoot(std::string path) {
    spawn(main_, [self = shared_from_this(), path = std::move(path)] { return self->add(path); });
}

Task<> FileIndexService::add(std::string path) {
    std::exception_ptr failure;
    try {
        co_await repository_.addRoot(path);
        roots_ = co_await repository_.roots();
        restartWatcher();
        rebuild();
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) showFailure(failure);
}

void FileIndexService::removeRoot(std::string id) {
    spawn(main_, [self = shared_from_this(), id = std::move(id)] { return self->remove(id); });
}

Task<> FileIndexService::remove(std::string id) {
    std::exception_ptr failure;
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
        failure = std::current_exception();
    }
    if (failure) showFailure(failure);
}

// Searching and reporting.

Task<std::vector<FileRecord>> FileIndexService::search(std::string text, std::optional<std::string> directory) {
    std::vector<FileRecord> records;
    if (text::trimmed(text).empty()) co_return records;
    const std::vector<IndexedFile> files = co_await repository_.search(text, directory, searchLimit);
    records.reserve(files.size());
    for (const IndexedFile& file : files) {
        FileRecord record;
        record.name = file.name;
        record.path = file.path;
        record.isDirectory = file.isDirectory;
        record.size = file.size;
        if (file.modified > 0) record.modified = timeFromSeconds(file.modified);
        records.push_back(std::move(record));
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

void FileIndexService::showFailure(const std::exception_ptr& failure) {
    showStatus(AppError::friendly(failure));
}

}  // namespace velmora
