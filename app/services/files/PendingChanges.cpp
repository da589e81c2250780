#include "app/services/files/PendingChanges.h"

#include "core/Assert.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

constexpr std::size_t batchLimit = 4000;
constexpr std::size_t pendingLimit = 20'000;

}  // namespace

void PendingChanges::see(std::uint64_t eventID) {
    seen_ = std::max(seen_, eventID);
}

bool PendingChanges::isFlood() const {
    return waiting_.size() > pendingLimit;
}

void PendingChanges::drop() {
    waiting_.clear();
    // The scan may already have passed what changed.
    needsReplay_ = isScanning_;
}

std::vector<std::string> PendingChanges::take() {
    VELMORA_ASSERT(!isTaken_);
    std::vector<std::string> batch;
    while (!waiting_.empty() && batch.size() < batchLimit)
        batch.push_back(std::move(waiting_.extract(waiting_.begin()).value()));
    isTaken_ = true;
    isLast_ = waiting_.empty();
    seenThen_ = seen_;
    scansThen_ = scans_;
    wasScanning_ = isScanning_;
    return batch;
}

void PendingChanges::applied(const std::vector<std::string>& batch) {
    isTaken_ = false;
    const bool wasBesideScan = wasScanning_ || scans_ != scansThen_;
    if (!wasBesideScan) {
        if (isLast_) covered_ = seenThen_;
        return;
    }
    auto& again = isScanning_ ? appliedInScan_ : waiting_;
    again.insert(batch.begin(), batch.end());
    if (appliedInScan_.size() <= pendingLimit) return;
    appliedInScan_.clear();
    needsReplay_ = true;
}

void PendingChanges::beginScan(std::uint64_t eventID) {
    see(eventID);
    covered_ = eventID;
    appliedInScan_.clear();
    needsReplay_ = false;
    isScanning_ = true;
    ++scans_;
}

void PendingChanges::endScan() {
    isScanning_ = false;
    waiting_.merge(std::exchange(appliedInScan_, {}));
}

std::uint64_t PendingChanges::bookmark() const {
    const bool nothingIsPending = waiting_.empty() && appliedInScan_.empty() && !isTaken_ && !needsReplay_;
    return nothingIsPending ? seen_ : covered_;
}

std::uint64_t PendingChanges::rewind() {
    seen_ = covered_ = bookmark();
    // A scan may still write over what comes now.
    needsReplay_ = needsReplay_ && isScanning_;
    return seen_;
}

}  // namespace velmora
