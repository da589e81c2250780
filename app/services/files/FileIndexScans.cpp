// The part of the file index service that scans every root anew.

#include "app/log/AppLog.h"
#include "app/services/files/FileIndexService.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto longestRescanDelay = 60s;

/// A root that cannot be read: there is nothing of it to write.
bool isUnreadable(const std::exception& failure) {
    const auto* const known = dynamic_cast<const AppError*>(&failure);
    return known && known->kind() == AppError::Kind::recoverable;
}

}  // namespace

void FileIndexService::cancelScan() {
    ++scanGeneration_;
    scanTask_.cancel();
    for (const RootScan& scan : std::exchange(rootScans_, {}))
        scan.task.cancel();
}

void FileIndexService::rebuild() {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    cancelScan();
    std::exchange(rescanTask_, {}).cancel();
    isScanning_ = true;
    isWhole_ = true;
    changes_.beginScan(disk_.watcher->currentEventID());
    AppLog::search.info("File index scan started (" + std::to_string(roots_.size()) + " roots)");
    scanTask_ = spawn(main_, [weak = weak_from_this(), generation = scanGeneration_] {  //
        return scanRoots(weak, generation);
    });
    changed_.emit();
}

Task<> FileIndexService::scanRoots(std::weak_ptr<FileIndexService> weak, int generation) {
    auto self = weak.lock();
    if (!self) co_return;
    const FileIndexRepository repository = self->repository_;
    try {
        // While a scan runs there is no bookmark: one that is cut off has to be done again. What scans before this one
        // were still writing has been written after this.
        co_await repository.saveEventID(0);
        if (self->scanGeneration_ == generation) self->startRootScans(generation);
    } catch (const AppError&) {
        if (self->scanGeneration_ == generation) self->fallBehind(std::current_exception());
    }
    if (self->scanGeneration_ != generation) co_return;
    const std::vector<RootScan> scans = self->rootScans_;
    self.reset();
    for (const RootScan& scan : scans)
        co_await scan.task.finished();
    self = weak.lock();
    if (!self || self->scanGeneration_ != generation) co_return;
    co_await self->finishScan(generation);
    if (self->scanGeneration_ != generation || !self->behind_.empty()) co_return;
    self.reset();
    try {
        for (bool more = true; more;)
            more = co_await repository.mergeFTS();
        co_await repository.releaseMemory();
    } catch (const AppError&) {  // NOLINT(bugprone-empty-catch): searches find the same, only later
    }
}

void FileIndexService::startRootScans(int generation) {
    for (const IndexRoot& root : roots_) {
        const auto scan = [weak = weak_from_this(), path = root.path, generation] {
            return scanRoot(weak, path, generation);
        };
        rootScans_.push_back({root.path, spawn(main_, scan)});
    }
}

Task<> FileIndexService::scanRoot(std::weak_ptr<FileIndexService> weak, std::string path, int generation) {
    try {
        co_await scanBatches(weak, path, generation);
        AppLog::search.info("File index root scan finished: " + text::validUtf8(path));
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): superseded or stopped
    } catch (const std::exception& failure) {
        const auto self = weak.lock();
        if (!self || self->scanGeneration_ != generation) co_return;
        AppLog::search.error("File index root scan failed");
        if (!isUnreadable(failure)) self->fallBehind(std::current_exception());
    }
}

Task<> FileIndexService::scanBatches(std::weak_ptr<FileIndexService> weak, std::string path, int generation) {
    auto self = weak.lock();
    if (!self || self->scanGeneration_ != generation) throw Cancelled{};
    const FileIndexRepository repository = self->repository_;
    co_await repository.deleteTree(path);
    if (self->scanGeneration_ != generation) throw Cancelled{};
    AppLog::search.info("File index root scan began: " + text::validUtf8(path));
    auto stream = self->disk_.scanner->scan(path, self->skipRule_);
    for (;;) {
        self.reset();
        std::optional<std::vector<IndexedFile>> batch = co_await stream.next();
        if (!batch) co_return;
        self = weak.lock();
        if (!self || self->scanGeneration_ != generation) throw Cancelled{};
        const auto size = static_cast<std::int64_t>(batch->size());
        co_await repository.upsert(*std::move(batch));
        if (self->scanGeneration_ != generation) throw Cancelled{};
        self->fileCount_ += size;
        self->showIndexing();
    }
}

Task<> FileIndexService::finishScan(int generation) {
    const auto self = shared_from_this();
    isScanning_ = false;
    rootScans_.clear();
    changes_.endScan();
    if (!changes_.empty()) scheduleFlush();
    if (isWhole_) {
        behind_.clear();
        rescanDelay_ = firstRescanDelay;
    } else {
        AppLog::search.error("File index scan incomplete");
        scanAgainLater();
    }
    try {
        const std::int64_t count = co_await repository_.count();
        if (scanGeneration_ != generation) co_return;
        fileCount_ = count;
    } catch (const AppError&) {
        if (scanGeneration_ != generation) co_return;
        showFailure();
        AppLog::search.error("File index count failed");
        co_return;
    }
    showWatching();
    if (!behind_.empty()) co_return;
    try {
        co_await saveBookmark();
        co_await repository_.markFTSBackfillDone();
    } catch (const AppError&) {  // NOLINT(bugprone-empty-catch): the next start does once more what this one did
    }
    if (scanGeneration_ != generation) co_return;
    AppLog::search.info("File index scan completed: " + std::to_string(fileCount_) + " files");
    if (changes_.needsReplay()) restartWatcher();
}

/// What is not in the index although it should be is found again by a full scan, which is begun after a while. The
/// while doubles as long as nothing can be written.
void FileIndexService::fallBehind(const std::exception_ptr& failure) {
    if (stopped_) return;
    behind_ = AppError::friendly(failure);
    isWhole_ = false;
    if (isScanning_) return;  // its end sees to it
    showWatching();
    scanAgainLater();
}

void FileIndexService::scanAgainLater() {
    if (!rescanTask_.done()) return;
    rescanTask_ = spawn(main_, [weak = weak_from_this(), &clock = clock_, delay = rescanDelay_]() -> Task<> {
        co_await clock.sleep(delay);
        if (const auto self = weak.lock()) self->rebuild();
    });
    rescanDelay_ = std::min<std::chrono::seconds>(rescanDelay_ * 2, longestRescanDelay);
}

}  // namespace velmora
