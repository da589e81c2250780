#include "app/services/quick/Shortcuts.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto listingInterval = 300s;
constexpr auto checkInterval = 600s;

Task<> runFromCommand(std::weak_ptr<ShortcutsService> weak, std::string name) {
    const auto service = weak.lock();
    if (!service) throw Cancelled{};
    co_await service->run(std::move(name));
}

CommandResult makeResult(const std::string& name, const std::weak_ptr<ShortcutsService>& service) {
    CommandResult result;
    result.id = std::string(ShortcutCommand::prefix) + name;
    result.title = name;
    result.subtitle = "Run Shortcut";
    result.keywords = text::lowercasedWords(name);
    result.keywords.insert(result.keywords.begin(), "shortcut");
    result.icon = CommandIcon::symbol("wand.and.stars");
    result.actions.push_back(
        {"run", "Run Shortcut", "↵", ActionRole::normal, [service, name] { return runFromCommand(service, name); }});
    return result;
}

}  // namespace

ShortcutCommand::ShortcutCommand(const ShortcutItem& item, const std::shared_ptr<ShortcutsService>& service)
    : StaticCommand(makeResult(item.name, service)) {}

ShortcutsService::ShortcutsService(MainExecutor main, Clock& clock, std::shared_ptr<ShortcutRunning> runner)
    : main_(std::move(main)), clock_(clock), runner_(std::move(runner)) {
    VELMORA_ASSERT_MAIN();
}

ShortcutsService::~ShortcutsService() {
    stop();
}

void ShortcutsService::start() {
    refresh();
    const auto look = [](std::shared_ptr<ShortcutsService> self) -> Task<> {
        self->refresh();
        co_return;
    };
    monitor_.start<ShortcutsService>(main_, clock_, checkInterval, weak_from_this(), look);
}

void ShortcutsService::refresh() {
    VELMORA_ASSERT_MAIN();
    const TimePoint now = clock_.now();
    // A clock that was set back is no reason to wait for it to come round again.
    if (lastRefresh_ <= now && lastRefresh_ != TimePoint::min() && now - lastRefresh_ <= listingInterval) return;
    lastRefresh_ = now;
    statusText_ = "Loading shortcuts…";
    refreshTask_ = spawn(main_, [weak = weak_from_this(), runner = runner_]() -> Task<> {
        std::vector<std::string> names;
        try {
            names = co_await runner->listNames();
        } catch (const Cancelled&) {
            throw;
        } catch (...) {
            AppLog::app.error("Shortcuts listing failed");
            if (const auto self = weak.lock()) self->statusText_ = AppError::friendly(std::current_exception());
            co_return;
        }
        if (const auto self = weak.lock()) self->publish(names);
    });
}

void ShortcutsService::publish(const std::vector<std::string>& names) {
    VELMORA_ASSERT_MAIN();
    shortcuts_.clear();
    for (const std::string& name : names)
        shortcuts_.push_back({name});
    statusText_ = names.empty() ? "No shortcuts found" : std::to_string(names.size()) + " shortcuts";
    updated_.emit();
}

void ShortcutsService::stop() {
    refreshTask_.cancel();
    monitor_.stop();
    refreshTask_ = {};
}

Task<> ShortcutsService::run(std::string name) {
    VELMORA_ASSERT_MAIN();
    const auto runner = runner_;
    co_await runner->run(std::move(name));
}

}  // namespace velmora
