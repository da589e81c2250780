// The part of the file index service that applies changes as they happen.

#include "app/log/AppLog.h"
#include "app/services/files/FileIndexService.h"
#include "core/AppError.h"
#include "core/Assert.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view eventPrefix = "/System/Volumes/Data";
constexpr auto flushDelay = 1s;
constexpr std::size_t pathsPerFlush = 4000;
constexpr std::size_t pendingLimit = 20'000;

/// What a batch of changed paths turned out to be.
struct Changes {
    std::vector<IndexedFile> found;
    std::vector<std::string> gone;
};

Changes examine(const std::vector<std::string>& paths, const FileAttributeReading& attributes) {
    Changes changes;
    for (const std::string& path : paths) {
        if (const auto read = attributes.attributes(path)) {
            std::string name = path.substr(path.rfind('/') + 1);
            changes.found.push_back({path, std::move(name), read->isDirectory, read->size, read->modified});
        } else {
            changes.gone.push_back(path);
        }
    }
    return changes;
}

}  // namespace

void FileIndexService::startWatcher(std::uint64_t sinceID) {
    std::vector<std::string> paths;
    paths.reserve(roots_.size());
    for (const IndexRoot& root : roots_)
        paths.push_back(root.path);
    try {
        disk_.watcher->start(std::move(paths), sinceID,
                             [weak = weak_from_this()](const std::vector<std::string>& changed, std::uint64_t id) {
                                 if (const auto self = weak.lock()) self->onEvents(changed, id);
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

void FileIndexService::onEvents(const std::vector<std::string>& paths, std::uint64_t lastEventID) {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    pendingEventID_ = std::max(pendingEventID_, lastEventID);
    if (paths.empty() && !isScanning_) showWatching();
    const std::size_t before = pendingPaths_.size();
    for (std::string_view path : paths) {
        if (path.starts_with(eventPrefix)) path.remove_prefix(eventPrefix.size());
        if (!skipRule_.skips(path)) pendingPaths_.emplace(path);
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
    const Changes changes = co_await reader.run(read);
    co_await repository_.upsert(changes.found);
    const std::set<std::string> folders = co_await repository_.directories(changes.gone);
    co_await repository_.deletePaths(changes.gone);
    const std::vector<std::string> trees(folders.begin(), folders.end());
    co_await repository_.deleteTrees(trees);
}

}  // namespace velmora
