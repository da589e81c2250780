#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

namespace velmora {

/// The paths that events have reported and the index has not followed yet, and the event up to which it has followed
/// all of them. Says nothing of what could not be written, which is for its owner to know.
///
/// A scan writes what it saw a while ago, over what events have changed since. So what is applied while one runs is
/// looked at again when it has ended.
///
/// Runs on: the thread of its owner.
class PendingChanges {
  public:
    /// The index has followed everything up to this event; 0 when that is not known.
    void startFrom(std::uint64_t eventID) { seen_ = covered_ = eventID; }

    /// An event has come.
    void see(std::uint64_t eventID);

    /// Adds a path to be looked at. Whether it was not there yet.
    bool add(std::string_view path) { return waiting_.emplace(path).second; }

    [[nodiscard]] bool empty() const { return waiting_.empty(); }

    /// Whether they are too many to look at one by one.
    [[nodiscard]] bool isFlood() const;

    /// Drops all paths, for a scan to find what has changed; while one runs, for a replay at its end.
    void drop();

    /// Takes some paths out. What becomes of them is said with `applied` or `failed` before the next are taken.
    [[nodiscard]] std::vector<std::string> take();
    void applied(const std::vector<std::string>& batch);
    void failed() { isTaken_ = false; }

    /// A scan begins, which sees everything up to this event. It may take the place of another one.
    void beginScan(std::uint64_t eventID);
    void endScan();

    /// Whether the events from `bookmark` on have to be had once more.
    [[nodiscard]] bool needsReplay() const { return needsReplay_ && !isScanning_; }

    /// The event up to which nothing is pending; during a scan, up to which nothing will be when it has ended.
    [[nodiscard]] std::uint64_t bookmark() const;

    /// All events after the bookmark will come once more. Returns it.
    std::uint64_t rewind();

  private:
    std::unordered_set<std::string> waiting_;
    std::unordered_set<std::string> appliedInScan_;
    std::uint64_t seen_ = 0;
    std::uint64_t covered_ = 0;  // nothing up to this event is pending
    bool needsReplay_ = false;
    bool isScanning_ = false;
    int scans_ = 0;

    // Of the paths that were taken.
    bool isTaken_ = false;
    bool isLast_ = false;  // none were left
    std::uint64_t seenThen_ = 0;
    int scansThen_ = 0;
    bool wasScanning_ = false;
};

}  // namespace velmora
