// The part of the palette's state that keeps the groups of commands current: applications, quicklinks, shortcuts.

#include "app/composition/AppServices.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/quick/Quicklinks.h"
#include "app/services/quick/Shortcuts.h"
#include "app/ui/state/PaletteStateChanges.h"
#include "core/AppError.h"
#include "core/Assert.h"

#include <algorithm>

namespace velmora {

bool PaletteState::replaceGroup(std::string_view prefix, std::vector<std::shared_ptr<const Command>> commands) {
    const Changes changes(*this);
    try {
        registry_.replace(prefix, std::move(commands));
    } catch (const AppError&) {
        showError(AppError::friendly(std::current_exception()));
        return false;
    }
    if (mode_ != Mode::commands) return true;
    const ResultPointer selected = selectedResult();
    search();
    if (!selected) return true;
    const auto again = std::find_if(results_.begin(), results_.end(),
                                    [&](const ResultPointer& result) { return result->id == selected->id; });
    if (again != results_.end()) setSelection(again - results_.begin());
    return true;
}

// A list that has not changed is left alone in each of these: it must not close a menu the user has open.

void PaletteState::updateApplicationCommands() {
    VELMORA_ASSERT_MAIN();
    std::vector<std::shared_ptr<const Command>> commands;
    for (const auto& command : services_->applications->commands())
        commands.push_back(command);
    if (commands == applicationCommands_) return;
    applicationCommands_ = commands;
    replaceGroup(applicationPrefix, std::move(commands));
}

void PaletteState::refreshApplications() {
    spawn(services_->platform.main, [applications = services_->applications] { return applications->refresh(); });
}

Task<> PaletteState::reloadQuicklinks() {
    const auto self = shared_from_this();
    std::vector<Quicklink> links = co_await services_->quicklinks.load();
    if (links == quicklinks_) co_return;
    std::vector<std::shared_ptr<const Command>> commands;
    commands.reserve(links.size());
    for (const Quicklink& link : links)
        commands.push_back(std::make_shared<const QuicklinkCommand>(link, services_->platform.workspace));
    if (replaceGroup(QuicklinkCommand::prefix, std::move(commands))) quicklinks_ = std::move(links);
}

void PaletteState::refreshQuicklinks() {
    spawn(services_->platform.main, [self = shared_from_this()]() -> Task<> {
        std::exception_ptr failure;
        try {
            co_await self->reloadQuicklinks();
        } catch (const Cancelled&) {
            throw;
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure) self->showError(AppError::friendly(failure));
    });
}

void PaletteState::reloadShortcutCommands() {
    VELMORA_ASSERT_MAIN();
    std::vector<std::string> names;
    for (const ShortcutItem& item : services_->shortcuts->shortcuts())
        names.push_back(item.name);
    // The tool runs them by name: two with the same one are one command.
    std::ranges::sort(names);
    names.erase(std::ranges::unique(names).begin(), names.end());
    if (names == shortcutNames_) return;
    std::vector<std::shared_ptr<const Command>> commands;
    commands.reserve(names.size());
    for (const std::string& name : names)
        commands.push_back(std::make_shared<const ShortcutCommand>(ShortcutItem{name}, services_->shortcuts));
    if (replaceGroup(ShortcutCommand::prefix, std::move(commands))) shortcutNames_ = std::move(names);
}

void PaletteState::refreshShortcuts() {
    services_->shortcuts->refresh();
}

}  // namespace velmora
