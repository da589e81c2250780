#pragma once

#include "core/async/Async.h"
#include "platform/FileEventWatching.h"
#include "platform/IndexReading.h"
#include "platform/linux/posix/RootMounts.h"
#include "platform/linux/watch/TreeWatch.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// Reports changes on the disk as the system tells of them: by fanotify marks on single folders, which any user may
/// set, and by inotify where those are refused. Event identifiers are microseconds since 1970.
///
/// Takes at most half of the user's marks; folders beyond that, or all where other programs have left none, are looked
/// at every minute or so. Starting from an identifier compares what has changed since then with the index, and so do
/// lost events. Identifiers never fall.
///
/// Runs on: the main thread; the handler is called there. Owns: one thread while it is running.
class FSEventsWatcher final : public FileEventWatching {
  public:
    struct Options {
        TreeWatchOptions tree;
        std::chrono::milliseconds latency{1'000};  ///< from a change to its report
        std::chrono::milliseconds gathering{50};   ///< how long equal events may merge before they are fetched
        std::shared_ptr<RootMounts> rootMounts;    ///< is told the roots, for looking at what is reported; may be null
    };

    /// Without an index there is nothing to compare with: what has gone while nobody watched stays unknown.
    FSEventsWatcher(MainExecutor main, std::shared_ptr<IndexReading> index, Options options);
    ~FSEventsWatcher() override;
    FSEventsWatcher(const FSEventsWatcher&) = delete;
    FSEventsWatcher& operator=(const FSEventsWatcher&) = delete;

    void start(std::vector<std::string> roots, std::uint64_t sinceID, Handler handler) override;

    /// Returns once the thread has ended; a thread that a stalled disk holds is left behind after two seconds and ends
    /// by itself, silent.
    void stop() override;

    [[nodiscard]] std::uint64_t currentEventID() const override;
    [[nodiscard]] std::size_t sweptFolders() const override;

    /// Whether every folder has been looked at once since `start`, so that later changes are reported as they happen.
    [[nodiscard]] bool isComplete() const;

  private:
    class Session;

    const MainExecutor main_;
    const std::shared_ptr<IndexReading> index_;
    const Options options_;
    std::shared_ptr<Session> session_;
};

}  // namespace velmora
