#pragma once

#include "app/ui/state/PaletteFeedback.h"
#include "core/async/Async.h"
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

        /// Lets the user know what it is that runs, should it take longer than a moment.
        void name(const std::string& title);

      private:
        std::shared_ptr<ActionRunner> runner_;
        TaskHandle naming_;
    };

    ActionRunner(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback);

    /// Whether something is running; until it has ended nothing else is begun.
    [[nodiscard]] bool busy() const { return busy_; }

    /// The name of what has been running for more than a moment; empty: nothing.
    [[nodiscard]] const std::string& running() const { return running_; }

    /// Starts `work` with the right to run, which ends with its task. Nothing when something is running already.
    TaskHandle start(std::function<Task<>(Busy)> work);

    void run(const ResultPointer& result, const CommandAction& action);

    /// Launches the application of the result with arguments as the user typed them, and remembers those.
    void launch(const ResultPointer& application, const std::string& arguments);

    /// How often, and when last, each command was used.
    [[nodiscard]] const UsageMap& usages() const { return usages_; }
    /// Fails with `AppError` (database).
    [[nodiscard]] Task<> loadUsages();

  private:
    [[nodiscard]] Task<> perform(Busy busy, ResultPointer result, CommandAction action);
    [[nodiscard]] Task<> performLaunch(Busy busy, ResultPointer application, std::string arguments);
    [[nodiscard]] Task<> recordUse(std::string id);

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<PaletteFeedback> feedback_;
    bool busy_ = false;
    std::string running_;
    int generation_ = 0;  // of what runs
    UsageMap usages_;
};

}  // namespace velmora
