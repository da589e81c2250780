#include "app/ui/state/CommandGroups.h"

#include "app/composition/AppServices.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/quick/Shortcuts.h"
#include "app/ui/state/ArgumentEntry.h"
#include "core/AppError.h"

#include <algorithm>

namespace velmora {

CommandGroups::CommandGroups(std::shared_ptr<AppServices> services, std::shared_ptr<CommandRegistry> registry,
                             std::shared_ptr<PaletteFeedback> feedback)
    : services_(std::move(services)),
      registry_(std::move(registry)),
      feedback_(std::move(feedback)),
      applications_{ArgumentEntry::applicationPrefix, {}},
      quicklinks_{QuicklinkCommand::prefix, {}},
      shortcuts_{ShortcutCommand::prefix, {}} {}

template <class Source, class Make>
void CommandGroups::update(Group<Source>& group, std::vector<Source> sources, const Make& make) {
    // A list that has not changed must not close a menu that the user has open.
    if (sources == group.taken) return;
    std::vector<std::shared_ptr<const Command>> commands;
    commands.reserve(sources.size());
    for (const Source& source : sources)
        commands.push_back(make(source));
    const PaletteFeedback::Gathering gathering(*feedback_);
    try {
        registry_->replace(group.prefix, std::move(commands));
    } catch (const AppError&) {
        feedback_->showFailure(std::current_exception());
        return;
    }
    group.taken = std::move(sources);
    replaced_.emit();
}

void CommandGroups::follow() {
    subscriptions_.push_back(services_->applications->onIndexChange([this] { updateApplications(); }));
    subscriptions_.push_back(services_->shortcuts->onUpdate([this] { updateShortcuts(); }));
    updateShortcuts();
}

void CommandGroups::refresh() {
    refreshApplications();
    refreshQuicklinks();
    refreshShortcuts();
}

void CommandGroups::refreshApplications() {
    spawn(services_->platform.main, [applications = services_->applications] { return applications->refresh(); });
}

void CommandGroups::refreshQuicklinks() {
    spawn(services_->platform.main, [self = shared_from_this()]() -> Task<> {
        try {
            co_await self->reloadQuicklinks();
        } catch (...) {
            self->feedback_->showFailure(std::current_exception());
        }
    });
}

void CommandGroups::refreshShortcuts() {
    services_->shortcuts->refresh();
}

Task<> CommandGroups::reloadQuicklinks() {
    const auto self = shared_from_this();
    std::vector<Quicklink> links = co_await services_->quicklinks.load();
    update(quicklinks_, std::move(links), [this](const Quicklink& link) {
        return std::make_shared<const QuicklinkCommand>(link, services_->platform.workspace);
    });
}

void CommandGroups::updateApplications() {
    update(applications_, services_->applications->commands(), [](const auto& command) { return command; });
}

void CommandGroups::updateShortcuts() {
    std::vector<std::string> names;
    for (const ShortcutItem& item : services_->shortcuts->shortcuts())
        names.push_back(item.name);
    // The tool runs them by name: two with the same one are one command.
    std::ranges::sort(names);
    names.erase(std::ranges::unique(names).begin(), names.end());
    update(shortcuts_, std::move(names), [this](const std::string& name) {
        return std::make_shared<const ShortcutCommand>(ShortcutItem{name}, services_->shortcuts);
    });
}

}  // namespace velmora
