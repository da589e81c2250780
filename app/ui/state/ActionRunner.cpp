#include "app/ui/state/ActionRunner.h"

#include "app/composition/AppServices.h"
#include "app/log/AppLog.h"
#include "app/services/applications/AppActions.h"
#include "app/services/applications/ApplicationService.h"
#include "app/ui/state/ArgumentEntry.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto moment = 500ms;

}  // namespace

ActionRunner::Busy::Busy(std::shared_ptr<ActionRunner> runner) : runner_(std::move(runner)) {
    runner_->feedback_->set(runner_->busy_, true);
}

ActionRunner::Busy::~Busy() {
    if (!runner_) return;
    naming_.cancel();
    ++runner_->generation_;
    const PaletteFeedback::Gathering gathering(*runner_->feedback_);
    runner_->feedback_->set(runner_->busy_, false);
    runner_->feedback_->set(runner_->running_, {});
}

void ActionRunner::Busy::name(const std::string& title) {
    naming_ = spawn(runner_->services_->platform.main,
                    [runner = runner_, title, generation = runner_->generation_]() -> Task<> {
                        co_await runner->services_->platform.clock.sleep(moment);
                        if (generation == runner->generation_) runner->feedback_->set(runner->running_, title);
                    });
}

ActionRunner::ActionRunner(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback)
    : services_(std::move(services)), feedback_(std::move(feedback)) {}

TaskHandle ActionRunner::start(std::function<Task<>(Busy)> work) {
    if (busy_) return {};
    const PaletteFeedback::Gathering gathering(*feedback_);
    feedback_->clearError();
    // What is spawned can be copied and the right to run cannot: the task takes it over when it begins.
    return spawn(services_->platform.main, [work = std::move(work), busy = std::make_shared<Busy>(shared_from_this())] {
        return work(std::move(*busy));
    });
}

void ActionRunner::run(const ResultPointer& result, const CommandAction& action) {
    start([this, result, action](Busy busy) { return perform(std::move(busy), result, action); });
}

void ActionRunner::launch(const ResultPointer& application, const std::string& arguments) {
    start([this, application, arguments](Busy busy) { return performLaunch(std::move(busy), application, arguments); });
}

Task<> ActionRunner::perform(Busy busy, ResultPointer result, CommandAction action) {
    try {
        co_await services_->permissions.authorize(action.role, action.title, "This operation cannot be undone.");
        busy.name(result->title);
        co_await action.execute();
    } catch (...) {
        feedback_->showFailure(std::current_exception());
        co_return;
    }
    AppLog::command.info("Command completed");
    if (!result->keepsOpen) feedback_->hide();
    co_await recordUse(result->id);
}

Task<> ActionRunner::performLaunch(Busy busy, ResultPointer application, std::string arguments) {
    const std::string path = ArgumentEntry::applicationPath(application->id);
    busy.name(application->title);
    try {
        co_await services_->applications->open(path, LaunchArguments::split(arguments));
        AppLog::command.info("Application launched with arguments");
        co_await services_->appLaunches.record(path, arguments);
    } catch (...) {
        feedback_->showFailure(std::current_exception());
        co_return;
    }
    co_await recordUse(application->id);
    feedback_->hide();
}

Task<> ActionRunner::recordUse(std::string id) {
    try {
        co_await services_->usage.record(id);
        co_await loadUsages();
    } catch (const std::exception&) {
        AppLog::database.error("Usage statistics could not be saved");
    }
}

Task<> ActionRunner::loadUsages() {
    const auto self = shared_from_this();
    usages_ = co_await services_->usage.load();
}

}  // namespace velmora
