#include "app/composition/AppServices.h"

#include "app/ai/NativeTools.h"
#include "app/ai/OpenAIProvider.h"
#include "app/mcp/MCPManager.h"
#include "app/services/KeychainService.h"
#include "app/services/StorageHealth.h"
#include "app/services/SystemService.h"
#include "app/services/applications/ApplicationIndexer.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/clipboard/ClipboardService.h"
#include "app/services/files/FileIndexService.h"
#include "app/services/files/FileResults.h"
#include "app/services/files/FileService.h"
#include "app/services/files/IndexedEntries.h"
#include "app/services/quick/ShortcutsCLI.h"
#include "app/storage/sqlite/PrivateFiles.h"
#include "core/Assert.h"

namespace velmora {
namespace {

std::string dataFolder(const std::string& applicationSupport) {
    return applicationSupport + "/Velmora";
}

FileIndexRepository indexedFiles(const Platform& platform, const std::shared_ptr<Database>& database) {
    return {database, platform.paths.home, platform.clock};
}

std::shared_ptr<FileIndexService> makeFileIndex(const Platform& platform, const std::shared_ptr<Database>& database) {
    const FileIndexRepository repository = indexedFiles(platform, database);
    const FileIndexService::Folders folders{platform.paths.home, dataFolder(platform.paths.applicationSupport)};
    auto events = platform.makeFileEvents(std::make_shared<IndexedEntries>(repository),
                                          FileIndexService::skippedPrefixes(folders));
    return std::make_shared<FileIndexService>(
        platform.main, platform.disk, platform.clock, repository,
        FileIndexService::Disk{platform.fileScanner, std::move(events), platform.fileAttributes}, folders);
}

}  // namespace

Task<std::shared_ptr<AppServices>> AppServices::create(Platform platform) {
    const std::string folder = dataFolder(platform.paths.applicationSupport);
    Actor background(platform.storage);
    const auto makeFolder = [&folder] { makePrivateFolder(folder); };
    co_await background.run(makeFolder);
    auto database = co_await Database::open(folder + "/velmora.sqlite", platform.storage);
    co_return std::make_shared<AppServices>(platform, std::move(database));
}

AppServices::AppServices(Platform given, std::shared_ptr<Database> opened)
    : platform(std::move(given)),
      database(std::move(opened)),
      keychain(std::make_shared<KeychainService>(platform.credentials, platform.secrets)),
      applications(std::make_shared<ApplicationService>(
          platform.main, platform.pool, platform.clock, platform.workspace,
          std::make_shared<ApplicationIndexer>(platform.pool, platform.applicationBundles), platform.applicationBundles,
          platform.paths.home)),
      system(std::make_shared<SystemService>(platform.workspace, platform.power, platform.screenLock, platform.trash,
                                             platform.paths.home)),
      permissions(platform.alerts),
      usage(database, platform.clock),
      settings(database),
      preferences(settings),
      appLaunches(database, platform.clock),
      quicklinks(database),
      conversations(database, platform.storage, platform.clock),
      files(std::make_shared<FileService>(platform.disk, platform.workspace, platform.pasteboard, platform.popUpMenu,
                                          platform.folderPanel, platform.paths.home)),
      fileIndex(makeFileIndex(platform, database)),
      health(std::make_shared<StorageHealth>(platform.main, platform.clock, database, fileIndex)),
      shortcuts(std::make_shared<ShortcutsService>(
          platform.main, platform.clock,
          std::make_shared<ShortcutsCLI>(platform.clock, platform.childProcesses, platform.shortcutsTools))),
      clipboard(std::make_shared<ClipboardService>(platform.main, platform.pool, platform.clock, platform.pasteboard,
                                                   platform.frontmost, ClipboardRepository(database, platform.clock))),
      fileSearch(std::make_shared<FileResults>(fileIndex, files)),
      clipboardSearch(clipboard),
      responsesEndpoint_(responsesEndpoint(platform.responsesURL)),
      preferenceChanges_(preferences.onChange([this](const AppPreferences& changed) { apply(changed); })) {}

AppServices::~AppServices() = default;

void AppServices::apply(const AppPreferences& changed) {
    clipboard->enabled = changed.clipboardEnabled;
    clipboard->maximumItems = changed.clipboardLimit;
    tools().policy.confirmWrites = changed.confirmToolWrites;
}

ToolRegistry& AppServices::tools() {
    VELMORA_ASSERT_MAIN();
    if (!tools_) {
        tools_ = std::make_unique<ToolRegistry>(
            [this](const ToolDefinition& tool, const JSONValue& input) { return permissions.approve(tool, input); });
    }
    return *tools_;
}

AIRuntime& AppServices::ai() {
    if (!ai_) ai_ = std::make_unique<AIRuntime>(tools());
    return *ai_;
}

MCPManager& AppServices::mcp() {
    VELMORA_ASSERT_MAIN();
    if (!mcp_) {
        mcp_ = std::make_unique<MCPManager>(
            platform.main,
            StdioTransport::Host{platform.pool, platform.clock, platform.childProcesses, platform.paths.home}, tools(),
            keychain, MCPServerRepository(database));
    }
    return *mcp_;
}

std::shared_ptr<ModelProvider> AppServices::modelProvider(std::string model) const {
    return std::make_shared<OpenAIProvider>(std::move(model), responsesEndpoint_, keychain, platform.http,
                                            platform.pool);
}

Task<> AppServices::start() {
    VELMORA_ASSERT_MAIN();
    registerNativeTools(tools(), {applications, files, fileIndex, indexedFiles(platform, database), shortcuts, system,
                                  platform.pasteboard, platform.paths.home});
    co_await fileIndex->start();
    if (stopped_) throw Cancelled{};
    shortcuts->start();
    co_await preferences.load();
}

void AppServices::startWatching() {
    VELMORA_ASSERT_MAIN();
    if (stopped_) return;
    clipboard->start();
    applications->startMonitoring();
    health->start();
}

void AppServices::stopWatching() {
    VELMORA_ASSERT_MAIN();
    stopped_ = true;
    clipboard->stop();
    shortcuts->stop();
    applications->stop();
    health->stop();
}

Task<> AppServices::stop() {
    stopWatching();
    co_await fileIndex->stop();
    if (mcp_) co_await mcp_->stop();
    co_await database->close();
}

}  // namespace velmora
