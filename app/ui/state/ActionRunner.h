#pragma once

#include "app/ui/state/PaletteFeedback.h"
#include "core/commands/CommandRegistry.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace velmora {

class AppServices;

/// Runs what the user chose, one thing at a time: asks for approval where it is needed, shows what fails, hides the
/// palette and remembers the use.
///
/// Runs on: the main thread. Lives in a `shared_ptr`. Fails with: nothing; failures become the error line.
class ActionRunner : public std::enable_shared_from_this<ActionRunner> {
  public:
    /// The right to run something. The runner is busy for as long as it exists, so the task that owns it cannot leave
    /// the palette stuck, however it ends.
    class Busy {
      public:
        explicit Busy(std::shared_ptr<ActionRunner> runner);
        ~Busy();
        Busy(Busy&&) = default;
        Busy& operator=(Busy&&) = delete;
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

      private:
        std::shared_ptr<ActionRunner> runner_;
    };

    ActionRunner(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback);

    /// Whether something is running; until it has ended nothing else is begun.
    [[nodiscard]] bool busy() const { return busy_; }

    /// Starts `work` with the right to run, which ends with its task. Nothing when something is running already.
    TaskHandle start(std::function<Task<>(Busy)> work);

    void run(const ResultPointer& result, const CommandAction& action);

    /// Launches the application of the result `id` with arguments as the user typed them, and remembers those.
    void launch(const std::string& id, const std::string& arguments);

    /// How often, and when last, each command was used.
    [[nodiscard]] const UsageMap& usages() const { return usages_; }
    /// Fails with `AppError` (database).
    [[nodiscard]] Task<> loadUsages();

  private:
    [[nodiscard]] Task<> perform(Busy busy, ResultPointer result, CommandAction action);
    [[nodiscard]] Task<> performLaunch(Busy busy, std::string id, std::string arguments);
    [[nodiscard]] Task<> recordUse(std::string id);

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteFeedback> feedback_;
    bool busy_ = false;
    UsageMap usages_;
};

}  // namespace velmora
