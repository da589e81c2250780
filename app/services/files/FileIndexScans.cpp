// The part of the file index service that scans every root anew.

#include "app/log/AppLog.h"
#include "app/services/files/FileIndexService.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

#include <algorithm>
#include <utility>

namespace velmora {

void FileIndexService::cancelScan() {
    scanTask_.cancel();
    for (const TaskHandle& scan : std::exchange(rootScans_, {}))
        scan.cancel();
}

void FileIndexService::rebuild() {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    cancelScan();
    isScanning_ = true;
    replayAfterScan_ = false;
    const int generation = ++scanGeneration_;
    AppLog::search.info("File index scan started (" + std::to_string(roots_.size()) + " roots)");
    scanTask_ = spawn(main_, [weak = weak_from_this(), generation] { return scanRoots(weak, generation); });
    changed_.emit();
}

Task<> FileIndexService::scanRoots(std::weak_ptr<FileIndexService> weak, int generation) {
    auto self = weak.lock();
    if (!self) co_return;
    const FileIndexRepository repository = self->repository_;
    const std::uint64_t begun = self->disk_.watcher->currentEventID();
    try {
        // While a scan runs there is no bookmark: one that is cut off has to be done again.
        co_await repository.saveEventID(0);
    } catch (const AppError&) {  // NOLINT(bugprone-empty-catch): a database that cannot be written shows in every batch
    }
    if (self->scanGeneration_ != generation) co_return;
    std::vector<TaskHandle> scans;
    for (const IndexRoot& root : self->roots_) {
        scans.push_back(
            spawn(self->main_, [weak, path = root.path, generation] { return scanRoot(weak, path, generation); }));
    }
    self->rootScans_ = scans;
    self.reset();
    for (const TaskHandle& scan : scans)
        co_await scan.finished();
    self = weak.lock();
    if (!self || self->scanGeneration_ != generation) co_return;
    co_await self->finishScan(begun);
    self.reset();
    try {
        for (bool more = true; more;)
            more = co_await repository.mergeFTS();
        co_await repository.releaseMemory();
    } catch (const AppError&) {  // NOLINT(bugprone-empty-catch): searches find the same, only later
    }
}

Task<> FileIndexService::scanRoot(std::weak_ptr<FileIndexService> weak, std::string path, int generation) {
    try {
        co_await scanBatches(weak, path, generation);
        AppLog::search.info("File index root scan finished: " + text::validUtf8(path));
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): superseded or stopped
    } catch (const std::exception&) {
        AppLog::search.error("File index root scan failed");
    }
}

Task<> FileIndexService::scanBatches(std::weak_ptr<FileIndexService> weak, std::string path, int generation) {
    auto self = weak.lock();
    if (!self || self->scanGeneration_ != generation) co_return;
    const FileIndexRepository repository = self->repository_;
    co_await repository.deleteTree(path);
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

Task<> FileIndexService::finishScan(std::uint64_t begun) {
    const auto self = shared_from_this();
    isScanning_ = false;
    rootScans_.clear();
    // The scan has seen everything up to its beginning; what came later arrived as events, unless they were dropped.
    pendingEventID_ = std::max(pendingEventID_, begun);
    const bool allApplied = pendingPaths_.empty() && !isFlushing_ && !replayAfterScan_;
    coveredEventID_ = allApplied ? pendingEventID_ : begun;
    try {
        fileCount_ = co_await repository_.count();
    } catch (...) {
        showFailure();
        AppLog::search.error("File index count failed");
        co_return;
    }
    showWatching();
    try {
        co_await repository_.saveEventID(coveredEventID_);
        co_await repository_.markFTSBackfillDone();
    } catch (const AppError&) {  // NOLINT(bugprone-empty-catch): the next start does once more what this one did
    }
    AppLog::search.info("File index scan completed: " + std::to_string(fileCount_) + " files");
    if (std::exchange(replayAfterScan_, false)) restartWatcherFrom(coveredEventID_);
}

}  // namespace velmora
