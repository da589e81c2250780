// The part of the palette's state that runs what the user chose.

#include "app/composition/AppServices.h"
#include "app/log/AppLog.h"
#include "app/services/PermissionService.h"
#include "app/services/applications/AppActions.h"
#include "app/services/applications/ApplicationService.h"
#include "app/ui/state/PaletteStateChanges.h"
#include "core/text/Text.h"

namespace velmora {
namespace {

constexpr const char* irreversible = "This operation cannot be undone.";

}  // namespace

void PaletteState::execute(std::optional<CommandAction> action) {
    const Changes changes(*this);
    if (busy_) return;
    if (argumentTarget_) return executeArguments(std::move(action));
    if (mode_ == Mode::ai) return askAI();
    const ResultPointer selected = selectedResult();
    if (!selected) return;
    if (!action) action = chosenAction();
    if (!action) return;
    set(busy_, true);
    set(error_, std::optional<std::string>());
    spawn(services_->platform.main,
          [self = shared_from_this(), selected, action = *std::move(action)] { return self->run(selected, action); });
}

std::optional<CommandAction> PaletteState::chosenAction() const {
    const auto& actions = selectedResult()->actions;
    const std::ptrdiff_t index = showsActions_ ? actionSelection_ : 0;
    if (index < 0 || index >= countOf(actions)) return std::nullopt;
    return actions[static_cast<std::size_t>(index)];
}

Task<> PaletteState::run(ResultPointer result, CommandAction action) {
    std::exception_ptr failure;
    try {
        co_await services_->permissions.authorize(action.role, action.title, irreversible);
        co_await action.execute();
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        const Changes changes(*this);
        set(error_, errorLine(failure));
        set(busy_, false);
        co_return;
    }
    AppLog::command.info("Command completed");
    if (!result->keepsOpen) hide();
    co_await recordUse(result->id);
    const Changes changes(*this);
    set(busy_, false);
}

Task<> PaletteState::recordUse(std::string id) {
    try {
        co_await services_->usage.record(id);
        usages_ = co_await services_->usage.load();
    } catch (const std::exception&) {
        AppLog::database.error("Usage statistics could not be saved");
    }
}

void PaletteState::executeArguments(std::optional<CommandAction> action) {
    if (!text::trimmed(query_).empty()) return launchWithArguments(query_);
    if (!selectedResult()) return;
    if (!action) action = chosenAction();
    if (!action) return;
    spawn(services_->platform.main, [self = shared_from_this(), action = *std::move(action)]() -> Task<> {
        std::exception_ptr failure;
        try {
            co_await action.execute();
        } catch (...) {
            failure = std::current_exception();
        }
        const Changes changes(*self);
        if (failure) self->set(self->error_, errorLine(failure));
    });
}

void PaletteState::launchWithArguments(std::string arguments) {
    const Changes changes(*this);
    if (busy_ || !argumentTarget_ || text::trimmed(arguments).empty()) return;
    set(busy_, true);
    set(error_, std::optional<std::string>());
    spawn(services_->platform.main, [self = shared_from_this(), id = argumentTarget_->id,
                                     arguments = std::move(arguments)] { return self->launch(id, arguments); });
}

Task<> PaletteState::launch(std::string id, std::string arguments) {
    const std::string path = applicationPath(id);
    std::exception_ptr failure;
    try {
        co_await services_->applications->open(path, LaunchArguments::split(arguments));
        AppLog::command.info("Application launched with arguments");
        co_await services_->appLaunches.record(path, arguments);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        const Changes changes(*this);
        set(error_, errorLine(failure));
        set(busy_, false);
        co_return;
    }
    co_await recordUse(id);
    const Changes changes(*this);
    hide();
    set(busy_, false);
}

void PaletteState::askAI() {
    if (text::trimmed(query_).empty()) return;
    // Requests join with the assistant; until the user has enabled them there is only this to say.
    set(error_, std::optional<std::string>("Enable AI Requests and save an API key in Settings → AI."));
}

}  // namespace velmora
