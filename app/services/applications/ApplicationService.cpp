#include "app/services/applications/ApplicationService.h"

#include "app/log/AppLog.h"
#include "app/services/UserPath.h"
#include "app/services/applications/AppActions.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/commands/SearchRanker.h"
#include "core/json/JSONRecord.h"
#include "core/text/Text.h"
#include "platform/ApplicationBundles.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto rescanInterval = 60s;

AppError notInstalled() {
    return AppError::toolExecution("Choose an installed application bundle.");
}

Task<> openFromCommand(std::weak_ptr<ApplicationService> weak, std::string path, std::vector<std::string> arguments) {
    const auto service = weak.lock();
    if (!service) throw Cancelled{};
    co_await service->open(std::move(path), std::move(arguments));
}

CommandAction action(const std::weak_ptr<ApplicationService>& service, const std::string& path,
                     const AppLaunchAction& launch) {
    CommandAction made;
    made.id = launch.id;
    made.title = launch.title;
    made.execute = [service, path, arguments = launch.arguments] { return openFromCommand(service, path, arguments); };
    return made;
}

ResultPointer makeResult(const ApplicationRecord& record, const std::weak_ptr<ApplicationService>& service) {
    auto result = std::make_shared<CommandResult>();
    result->id = "app:" + record.path;
    result->title = record.name;
    result->subtitle = record.bundleIdentifier + " · " + text::validUtf8(record.path);
    result->keywords = {record.bundleIdentifier, "application"};
    result->icon = CommandIcon::file(record.path);
    result->actions.push_back(action(service, record.path, {"open", "Open Application", {}}));
    result->actions.back().shortcut = "↵";
    for (const AppLaunchAction& launch : AppActionCatalog::actions(record.bundleIdentifier))
        result->actions.push_back(action(service, record.path, launch));
    return result;
}

}  // namespace

JSONValue ApplicationRecord::toJSON() const {
    return JSONValue::Object{{"name", name}, {"bundleIdentifier", bundleIdentifier}, {"path", path}};
}

ApplicationRecord ApplicationRecord::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "name"), decodeMember<std::string>(value, "bundleIdentifier"),
            decodeMember<std::string>(value, "path")};
}

ApplicationCommand::ApplicationCommand(ApplicationRecord record, const std::weak_ptr<ApplicationService>& service)
    : record_(std::move(record)), result_(makeResult(record_, service)) {}

ApplicationService::ApplicationService(MainExecutor main, Executor pool, Clock& clock, Workspace& workspace,
                                       std::shared_ptr<ApplicationIndexing> indexer,
                                       std::shared_ptr<const ApplicationBundles> bundles, std::string home)
    : main_(std::move(main)),
      pool_(std::move(pool)),
      clock_(clock),
      workspace_(workspace),
      indexer_(std::move(indexer)),
      bundles_(std::move(bundles)),
      home_(std::move(home)) {
    VELMORA_ASSERT_MAIN();
}

ApplicationService::~ApplicationService() {
    stop();
}

void ApplicationService::stop() {
    watcher_.stop();
    refreshTask_.cancel();
}

Task<> ApplicationService::refresh() {
    VELMORA_ASSERT_MAIN();
    const TaskHandle running = startRefresh();
    co_await running.finished();
}

TaskHandle ApplicationService::startRefresh() {
    if (!refreshTask_.done()) return refreshTask_;
    refreshTask_ = spawn(main_, [weak = weak_from_this(), indexer = indexer_]() -> Task<> {
        std::vector<ApplicationRecord> records;
        try {
            records = co_await indexer->scan();
        } catch (const Cancelled&) {
            throw;
        } catch (...) {
            AppLog::search.error("The applications could not be listed");
            co_return;
        }
        if (const auto self = weak.lock()) self->publish(std::move(records));
    });
    return refreshTask_;
}

void ApplicationService::publish(std::vector<ApplicationRecord> records) {
    VELMORA_ASSERT_MAIN();
    if (records != applications_) {
        std::unordered_map<std::string_view, CommandPointer> known;
        for (auto& command : commands_)
            known.emplace(command->record().path, std::move(command));
        std::vector<CommandPointer> commands;
        commands.reserve(records.size());
        for (const ApplicationRecord& record : records) {
            const auto same = known.find(record.path);
            const bool kept = same != known.end() && same->second->record() == record;
            commands.push_back(kept ? same->second
                                    : std::make_shared<const ApplicationCommand>(record, weak_from_this()));
        }
        applications_ = std::move(records);
        commands_ = std::move(commands);
    }
    lastRefresh_ = clock_.now();
    indexChanged_.emit();
}

void ApplicationService::startMonitoring() {
    VELMORA_ASSERT_MAIN();
    const auto rescan = [](std::shared_ptr<ApplicationService> self) -> Task<> {
        const TaskHandle running = self->startRefresh();
        self.reset();  // it may go while its scan is waited for
        co_await running.finished();
    };
    watcher_.start<ApplicationService>(main_, clock_, rescanInterval, weak_from_this(), rescan);
}

std::vector<ApplicationRecord> ApplicationService::search(std::string_view query) const {
    VELMORA_ASSERT_MAIN();
    const SearchRanker ranker(query);
    std::vector<std::pair<double, const ApplicationRecord*>> scored;
    std::string storage;
    for (const ApplicationRecord& record : applications_) {
        storage.clear();
        const auto texts = SearchTexts::append(storage, record.name, std::span(&record.bundleIdentifier, 1));
        if (const auto score = ranker.baseScore(texts)) scored.emplace_back(*score, &record);
    }
    std::ranges::stable_sort(scored, std::ranges::greater{}, [](const auto& candidate) { return candidate.first; });
    std::vector<ApplicationRecord> found;
    found.reserve(scored.size());
    for (const auto& candidate : scored)
        found.push_back(*candidate.second);
    return found;
}

bool ApplicationService::isListed(const std::string& location) const {
    return std::ranges::find(applications_, location, &ApplicationRecord::path) != applications_.end();
}

Task<> ApplicationService::openListed(std::string path) {
    VELMORA_ASSERT_MAIN();
    if (!isListed(standardizedPath(path, home_))) throw notInstalled();
    co_await open(std::move(path), {});
}

Task<> ApplicationService::open(std::string path, std::vector<std::string> arguments) {
    VELMORA_ASSERT_MAIN();
    std::string location = standardizedPath(path, home_);
    bool mayOpen = location.starts_with('/') && location.find('\0') == std::string::npos;
    if (mayOpen) {
        const auto look = [&location, listed = isListed(location), bundles = bundles_] {
            std::error_code missing;
            return listed ? std::filesystem::exists(location, missing) : bundles->mayLaunch(location);
        };
        Actor files(pool_);
        mayOpen = co_await files.run(look);
    }
    if (!mayOpen) throw notInstalled();
    try {
        co_await workspace_.openApplication(std::move(location), std::move(arguments));
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        AppLog::command.error("The workspace refused to launch an application");
        throw AppError::toolExecution("The application could not be launched.");
    }
}

}  // namespace velmora
