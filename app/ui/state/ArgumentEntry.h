#pragma once

#include "app/storage/AppLaunchRepository.h"
#include "app/ui/state/PaletteFeedback.h"
#include "core/commands/Commands.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

class ActionRunner;
class AppServices;

/// The entry of launch arguments for one application: which one it is and what it was launched with before.
///
/// Runs on: the main thread. Lives in a `shared_ptr`.
class ArgumentEntry : public std::enable_shared_from_this<ArgumentEntry> {
  public:
    /// What the identifiers of application results begin with; the application's path follows.
    static constexpr std::string_view applicationPrefix = "app:";
    static std::string applicationPath(const std::string& id) { return id.substr(applicationPrefix.size()); }

    ArgumentEntry(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback,
                  std::shared_ptr<ActionRunner> runner);

    /// The application; none while no arguments are entered.
    [[nodiscard]] const ResultPointer& target() const { return target_; }

    /// Begins for an application's result; false, and nothing happens, for any other. Earlier arguments are loaded in
    /// the background.
    bool begin(const ResultPointer& application);
    void end();

    /// A row for each earlier argument text that contains `query`, the latest first.
    [[nodiscard]] std::vector<ResultPointer> rows(const std::string& query) const;

    /// Launches with what was typed or, when that is blank, runs `action` of an earlier launch.
    void submit(const std::string& query, const std::optional<CommandAction>& action);

    /// Called when the earlier arguments have been loaded.
    [[nodiscard]] Subscription onLoaded(std::function<void()> callback) {
        return loaded_.subscribe(std::move(callback));
    }

  private:
    [[nodiscard]] Task<> load(std::string path, int generation);
    [[nodiscard]] ResultPointer row(const AppLaunchRecord& record) const;

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteFeedback> feedback_;
    std::shared_ptr<ActionRunner> runner_;
    Signal<> loaded_;
    ResultPointer target_;
    std::vector<AppLaunchRecord> recents_;
    int generation_ = 0;  // of the target: what was loaded for an earlier one is dropped
};

}  // namespace velmora
