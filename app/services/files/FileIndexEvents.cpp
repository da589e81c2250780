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
    if (stopped_) return;
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
    disk_.watcher->stop();
    startWatcher(changes_.rewind());
}

void FileIndexService::onEvents(const std::vector<std::string>& paths, std::uint64_t lastEventID) {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    changes_.see(lastEventID);
    if (paths.empty() && !isScanning_) showWatching();
    bool isNews = false;
    for (std::string_view path : paths) {
        if (path.starts_with(eventPrefix)) path.remove_prefix(eventPrefix.size());
        if (!skipRule_.skips(path)) isNews = changes_.add(path) || isNews;
    }
    if (!isNews) return;
    if (!changes_.isFlood()) return scheduleFlush();
    changes_.drop();
    if (!isScanning_) rebuild();
}

void FileIndexService::scheduleFlush() {
    if (stopped_ || !flushTask_.done()) return;
    flushTask_ = spawn(main_, [weak = weak_from_this(), &clock = clock_]() -> Task<> {
        co_await clock.sleep(flushDelay);
        if (const auto self = weak.lock()) co_await self->flush();
        if (const auto self = weak.lock()) {
            self->flushTask_ = {};
            if (!self->changes_.empty()) self->scheduleFlush();
        }
    });
}

Task<> FileIndexService::flush() {
    if (changes_.empty()) co_return;
    const std::vector<std::string> batch = changes_.take();
    std::exception_ptr failure;
    try {
        co_await apply(batch);
        changes_.applied(batch);
        co_await saveBookmark();
        fileCount_ = co_await repository_.count();
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    if (stopped_) co_return;
    if (failure) {
        changes_.failed();
        AppLog::search.error("File index update failed");
        fallBehind(failure);
    } else if (isScanning_) {
        changed_.emit();
    } else {
        showWatching();
    }
}

Task<> FileIndexService::apply(std::vector<std::string> batch) {
    Actor reader(pool_);
    const auto read = [&batch, attributes = disk_.attributes.get()] { return examine(batch, *attributes); };
    Changes changes = co_await reader.run(read);
    // The root may have been removed meanwhile.
    std::erase_if(changes.found, [this](const IndexedFile& file) { return !covers(file.path); });
    co_await repository_.upsert(std::move(changes.found));
    const std::set<std::string> folders = co_await repository_.directories(changes.gone);
    co_await repository_.deletePaths(changes.gone);
    const std::vector<std::string> trees(folders.begin(), folders.end());
    co_await repository_.deleteTrees(trees);
}

bool FileIndexService::covers(std::string_view path) const {
    return std::any_of(roots_.begin(), roots_.end(),
                       [&](const IndexRoot& root) { return isAtOrBelow(path, root.path); });
}

/// The bookmark is where the next run goes on. It passes nothing that the index does not have, and it is not there
/// while more than changes are written; nor is it later than now, as one from a clock that ran ahead would be.
Task<> FileIndexService::saveBookmark() {
    if (isScanning_ || isChangingRoots_ || !behind_.empty()) co_return;
    const std::uint64_t bookmark = std::min(changes_.bookmark(), disk_.watcher->currentEventID());
    if (bookmark != 0) co_await repository_.saveEventID(bookmark);
}

}  // namespace velmora
