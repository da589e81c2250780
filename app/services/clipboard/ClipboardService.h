#pragma once

#include "app/services/ResultSource.h"
#include "app/storage/ClipboardRepository.h"
#include "core/async/Clock.h"
#include "core/async/Repeater.h"
#include "core/async/Signal.h"
#include "platform/FrontmostApplication.h"
#include "platform/Pasteboard.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// The clipboard history: looks at the clipboard again and again, stores texts and addresses that were copied, finds
/// them, and copies them back. What the copying program marked as concealed, transient or generated is never read, and
/// what is on the clipboard at the start is not taken. What cannot be stored is kept for about a minute, and tried
/// again.
///
/// Runs on: the main thread; results are made on the worker pool. Lives in a `shared_ptr`. `clock`, `pasteboard` and
/// `frontmost` must outlive it and the actions it hands out. Fails with: `AppError` (database), from `search` only.
class ClipboardService final : public ResultSource, public std::enable_shared_from_this<ClipboardService> {
  public:
    ClipboardService(MainExecutor main, const Executor& pool, Clock& clock, Pasteboard& pasteboard,
                     FrontmostApplication& frontmost, ClipboardRepository repository);
    ~ClipboardService() override;
    ClipboardService(const ClipboardService&) = delete;
    ClipboardService& operator=(const ClipboardService&) = delete;

    /// Begins to look every 0.65 seconds, for as long as the service lives. Does nothing when it does already.
    void start();

    /// Stops looking, for good once the task that is looking has noticed.
    void stop();

    /// Looks once: stores what was copied since the last time, if anything was. A failure becomes `error()`.
    [[nodiscard]] Task<> capture();

    /// Called with the failure when copies cannot be stored, and without one when all of them have been after all.
    [[nodiscard]] Subscription onTrouble(std::function<void(const std::optional<std::string>& failure)> callback) {
        return trouble_.subscribe(std::move(callback));
    }

    /// The newest 500 entries that contain `query`; without one, the newest 500. Long texts are read only when they are
    /// previewed or copied. `directory` means nothing here.
    [[nodiscard]] Task<std::vector<ResultPointer>> search(std::string query,
                                                          std::optional<std::string> directory) override;

    /// What the last failing capture failed with.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

    [[nodiscard]] const ClipboardRepository& repository() const { return repository_; }

    bool enabled = true;              ///< whether copies are stored; one made while it is off never is
    std::int64_t maximumItems = 500;  ///< how many entries are kept after each capture

  private:
    struct Copy {
        std::string content;
        std::optional<std::string> source;
    };

    [[nodiscard]] Task<> look();
    [[nodiscard]] Task<std::optional<std::string>> copiedText();
    void storeBeside();
    [[nodiscard]] Task<> store();
    void retryAfter(const std::exception_ptr& failure);

    MainExecutor main_;
    Actor builder_;
    Clock& clock_;
    Pasteboard& pasteboard_;
    FrontmostApplication& frontmost_;
    ClipboardRepository repository_;
    Repeater watcher_;
    std::int64_t lastCount_;
    std::optional<std::string> error_;
    std::deque<Copy> unsaved_;  // the oldest first
    bool isStoring_ = false;
    int failures_ = 0;           // since all was stored
    bool lost_ = false;          // some of the copies meanwhile were given up
    int looksUntilNextTry_ = 0;  // after a failure
    Signal<const std::optional<std::string>&> trouble_;
};

}  // namespace velmora
