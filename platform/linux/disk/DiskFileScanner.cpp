#include "platform/linux/disk/DiskFileScanner.h"

#include "core/files/FileNames.h"
#include "platform/linux/disk/FolderWalk.h"
#include "platform/linux/posix/LowPriority.h"

#include <exception>
#include <utility>

namespace velmora {
namespace {

constexpr std::size_t batchEntries = 5'000;
constexpr std::size_t waitingBatches = 2;
constexpr std::size_t threadCount = 2;

using Batches = StreamWriter<std::vector<IndexedFile>>;

Task<> walk(std::shared_ptr<Batches> batches, std::string root, SkipRule skipRule) {
    const std::function<bool()> stopped = [batches] { return batches->isReaderGone(); };
    FolderWalk walk(root, std::move(skipRule));
    for (;;) {
        std::vector<IndexedFile> batch = walk.next(batchEntries, stopped);
        if (stopped()) throw Cancelled{};
        if (batch.empty()) break;
        co_await batches->write(std::move(batch));
    }
}

}  // namespace

DiskFileScanner::DiskFileScanner(std::string home) : home_(std::move(home)), threads_(threadCount) {}

Stream<std::vector<IndexedFile>> DiskFileScanner::scan(std::string root, SkipRule skipRule) {
    if (root == "~" || root.starts_with("~/")) root.replace(0, 1, home_);
    auto [stream, writer] = makeStream<std::vector<IndexedFile>>(waitingBatches);
    auto batches = std::make_shared<Batches>(std::move(writer));
    spawn(threads_.executor(), [batches, root = fileNameBytes(root), skip = std::move(skipRule)]() -> Task<> {
        lowerThreadPriority();
        // Not handed over from within the handler: the exception would then have an owner on each thread.
        std::exception_ptr failure;
        try {
            co_await walk(batches, root, skip);
            batches->finish();  // once the walk has let go of the disk
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure) batches->fail(std::exchange(failure, nullptr));
    });
    return std::move(stream);
}

}  // namespace velmora
