#pragma once

#include "core/async/Clock.h"
#include "core/async/Repeater.h"
#include "core/async/Signal.h"
#include "core/commands/Commands.h"
#include "core/json/JSONValue.h"
#include "platform/Workspace.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// An installed application.
struct ApplicationRecord {
    std::string name;              ///< for display: one line of valid UTF-8
    std::string bundleIdentifier;  ///< the path when the application declares none
    std::string path;              ///< absolute; the bytes the file system has

    bool operator==(const ApplicationRecord&) const = default;

    /// An object with the fields' names.
    [[nodiscard]] JSONValue toJSON() const;

    /// Fails with `JSONError`.
    static ApplicationRecord fromJSON(const JSONValue& value);
};

/// A scanner for installed applications.
class ApplicationIndexing {
  public:
    virtual ~ApplicationIndexing() = default;

    /// Every application, sorted by name.
    [[nodiscard]] virtual Task<std::vector<ApplicationRecord>> scan() = 0;
};

class ApplicationBundles;
class ApplicationService;

/// The command that opens one application.
///
/// Its result never changes: an application whose record changes gets another command.
class ApplicationCommand final : public Command {
  public:
    ApplicationCommand(ApplicationRecord record, const std::weak_ptr<ApplicationService>& service);

    [[nodiscard]] const ApplicationRecord& record() const { return record_; }
    [[nodiscard]] const std::string& id() const override { return result_->id; }
    [[nodiscard]] ResultPointer result(const CommandContext&) const override { return result_; }
    [[nodiscard]] bool isConstant() const override { return true; }

  private:
    ApplicationRecord record_;
    ResultPointer result_;
};

/// The list of installed applications, kept fresh, searched and launched from.
///
/// Runs on: the main thread; scans and file-system look-ups happen on the worker pool. Lives in a `shared_ptr`; its
/// destruction ends a running scan and the monitoring. `clock` and `workspace` must outlive it and the tasks it
/// started. Fails with: `AppError` (toolExecution), from `open` only.
class ApplicationService final : public std::enable_shared_from_this<ApplicationService> {
  public:
    using CommandPointer = std::shared_ptr<const ApplicationCommand>;

    ApplicationService(MainExecutor main, Executor pool, Clock& clock, Workspace& workspace,
                       std::shared_ptr<ApplicationIndexing> indexer, std::shared_ptr<const ApplicationBundles> bundles,
                       std::string home);
    ~ApplicationService();
    ApplicationService(const ApplicationService&) = delete;
    ApplicationService& operator=(const ApplicationService&) = delete;

    /// Called after every completed scan, even one that found nothing new.
    [[nodiscard]] Subscription onIndexChange(std::function<void()> callback) {
        return indexChanged_.subscribe(std::move(callback));
    }

    /// Runs one scan, or waits for the one that is running. Cancelling the caller does not cancel the scan.
    [[nodiscard]] Task<> refresh();

    /// Scans again every 60 seconds until it is stopped. Later calls do nothing.
    void startMonitoring();

    /// Ends the monitoring and a running scan.
    void stop();

    /// Sorted by name; empty until the first scan has completed.
    [[nodiscard]] const std::vector<ApplicationRecord>& applications() const { return applications_; }

    /// When the last scan completed; `TimePoint::min()` before the first one has.
    [[nodiscard]] TimePoint lastRefresh() const { return lastRefresh_; }

    /// One command per application, in the same order. An application that did not change keeps its command.
    [[nodiscard]] const std::vector<CommandPointer>& commands() const { return commands_; }

    /// The applications whose name or identifier matches `query`, best first.
    [[nodiscard]] std::vector<ApplicationRecord> search(std::string_view query) const;

    /// Launches the application at `path` (a leading "~" stands for the home folder) with `arguments`; with none it is
    /// launched or activated. Fails with "Choose an installed application bundle." when it is neither listed nor what
    /// `ApplicationBundles::mayLaunch` allows, and "The application could not be launched." when the desktop refuses.
    /// The service must live until it returns.
    [[nodiscard]] Task<> open(std::string path, std::vector<std::string> arguments);

    /// As `open` without arguments, for a path that is not the user's own choice: only a listed application will do.
    [[nodiscard]] Task<> openListed(std::string path);

  private:
    TaskHandle startRefresh();
    void publish(std::vector<ApplicationRecord> records);
    [[nodiscard]] bool isListed(const std::string& location) const;

    MainExecutor main_;
    Executor pool_;
    Clock& clock_;
    Workspace& workspace_;
    std::shared_ptr<ApplicationIndexing> indexer_;
    std::shared_ptr<const ApplicationBundles> bundles_;
    std::string home_;
    TaskHandle refreshTask_;
    Repeater watcher_;
    TimePoint lastRefresh_ = TimePoint::min();
    std::vector<ApplicationRecord> applications_;
    std::vector<CommandPointer> commands_;
    Signal<> indexChanged_;
};

}  // namespace velmora
