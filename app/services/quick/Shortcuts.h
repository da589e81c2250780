#pragma once

#include "core/async/Clock.h"
#include "core/async/Repeater.h"
#include "core/async/Signal.h"
#include "core/commands/Commands.h"
#include "core/json/JSONRecord.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// One of the user's automation shortcuts, known by its name.
struct ShortcutItem {
    std::string name;

    bool operator==(const ShortcutItem&) const = default;

    [[nodiscard]] JSONValue toJSON() const { return JSONValue::Object{{"name", name}}; }

    /// Fails with `JSONError`.
    static ShortcutItem fromJSON(const JSONValue& value) { return {decodeMember<std::string>(value, "name")}; }
};

/// What lists and runs shortcuts.
///
/// Runs on: called from the main thread; the work is done elsewhere. Fails with: `AppError` or any other exception.
class ShortcutRunning {
  public:
    virtual ~ShortcutRunning() = default;

    [[nodiscard]] virtual Task<std::vector<std::string>> listNames() = 0;
    [[nodiscard]] virtual Task<> run(std::string name) = 0;
};

/// The user's shortcuts: their names, kept fresh, and the way to run one.
///
/// Runs on: the main thread. Lives in a `shared_ptr`; its destruction ends the listing and the monitoring. `clock` must
/// outlive it and the tasks it started.
class ShortcutsService final : public std::enable_shared_from_this<ShortcutsService> {
  public:
    ShortcutsService(MainExecutor main, Clock& clock, std::shared_ptr<ShortcutRunning> runner);
    ~ShortcutsService();
    ShortcutsService(const ShortcutsService&) = delete;
    ShortcutsService& operator=(const ShortcutsService&) = delete;

    /// Called after every successful listing, even one that found nothing new.
    [[nodiscard]] Subscription onUpdate(std::function<void()> callback) {
        return updated_.subscribe(std::move(callback));
    }

    /// Lists the shortcuts now, and again from time to time.
    void start();

    /// Starts a listing, unless one was started within the last 300 seconds.
    void refresh();

    /// Ends the listing and the monitoring.
    void stop();

    /// Runs one shortcut to its end; what it fails with is the runner's.
    [[nodiscard]] Task<> run(std::string name);

    /// In the tool's order; empty until the first listing has succeeded.
    [[nodiscard]] const std::vector<ShortcutItem>& shortcuts() const { return shortcuts_; }

    /// How the last listing went, as one line.
    [[nodiscard]] const std::string& statusText() const { return statusText_; }

  private:
    void publish(const std::vector<std::string>& names);

    MainExecutor main_;
    Clock& clock_;
    std::shared_ptr<ShortcutRunning> runner_;
    std::vector<ShortcutItem> shortcuts_;
    std::string statusText_;
    TaskHandle refreshTask_;
    Repeater monitor_;
    TimePoint lastRefresh_ = TimePoint::min();
    Signal<> updated_;
};

/// The command that runs one shortcut. Its result never changes.
class ShortcutCommand final : public StaticCommand {
  public:
    static constexpr std::string_view prefix = "shortcut:";

    ShortcutCommand(const ShortcutItem& item, const std::shared_ptr<ShortcutsService>& service);
};

}  // namespace velmora
