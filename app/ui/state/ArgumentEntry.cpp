#include "app/ui/state/ArgumentEntry.h"

#include "app/composition/AppServices.h"
#include "app/ui/state/ActionRunner.h"
#include "core/text/Text.h"

namespace velmora {
namespace {

constexpr int maximumRecents = 8;

}  // namespace

ArgumentEntry::ArgumentEntry(std::shared_ptr<AppServices> services, std::shared_ptr<PaletteFeedback> feedback,
                             std::shared_ptr<ActionRunner> runner)
    : services_(std::move(services)), feedback_(std::move(feedback)), runner_(std::move(runner)) {}

bool ArgumentEntry::begin(const ResultPointer& application) {
    if (!application || !application->id.starts_with(applicationPrefix)) return false;
    end();
    feedback_->set(target_, application);
    spawn(services_->platform.main, [self = shared_from_this(), path = applicationPath(application->id),
                                     generation = generation_] { return self->load(path, generation); });
    return true;
}

void ArgumentEntry::end() {
    ++generation_;
    feedback_->set(target_, ResultPointer());
    recents_.clear();
}

Task<> ArgumentEntry::load(std::string path, int generation) {
    std::vector<AppLaunchRecord> recents;
    try {
        recents = co_await services_->appLaunches.recents(std::move(path), maximumRecents);
    } catch (const std::exception&) {
        co_return;  // nothing to offer; typing arguments still works
    }
    if (generation != generation_) co_return;
    recents_ = std::move(recents);
    loaded_.emit();
}

std::vector<ResultPointer> ArgumentEntry::rows(const std::string& query) const {
    std::vector<ResultPointer> rows;
    for (const AppLaunchRecord& record : recents_) {
        if (text::contains(record.arguments, query)) rows.push_back(row(record));
    }
    return rows;
}

ResultPointer ArgumentEntry::row(const AppLaunchRecord& record) const {
    const TimePoint now = services_->platform.clock.now();
    auto result = std::make_shared<CommandResult>();
    result->id = "args:" + record.appPath + '\x1F' + record.arguments;
    result->title = record.arguments;
    result->subtitle = "Used " + std::to_string(record.count) + "× · " + text::relativeTime(record.lastUsed, now);
    result->icon = CommandIcon::symbol("clock.arrow.circlepath");
    result->actions.push_back({"run", "Launch With Arguments", "↵", ActionRole::normal,
                               [runner = runner_, target = target_, arguments = record.arguments]() -> Task<> {
                                   runner->launch(target, arguments);
                                   co_return;
                               }});
    return result;
}

void ArgumentEntry::submit(const std::string& query, const std::optional<CommandAction>& action) {
    if (!text::trimmed(query).empty()) {
        runner_->launch(target_, query);
    } else if (action) {
        spawn(services_->platform.main, action->execute);
    }
}

}  // namespace velmora
