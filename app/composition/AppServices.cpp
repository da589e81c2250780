#include "app/composition/AppServices.h"

#include "app/services/SystemService.h"
#include "app/services/applications/ApplicationIndexer.h"
#include "app/services/applications/ApplicationService.h"
#include "app/services/clipboard/ClipboardService.h"
#include "app/services/files/FileIndexService.h"
#include "app/services/files/FileResults.h"
#include "app/services/files/FileService.h"
#include "app/services/files/IndexedEntries.h"
#include "app/services/quick/ShortcutsCLI.h"
#include "core/Assert.h"

#include <sys/stat.h>

#include <filesystem>

namespace velmora {
namespace {

std::string dataFolder(const std::string& applicationSupport) {
    return applicationSupport + "/Velmora";
}

/// Makes the folder that holds the program's data, readable by its user alone even where it existed with other
/// permissions.
std::string makeDataFolder(const std::string& applicationSupport) {
    namespace fs = std::filesystem;
    const fs::path folder = dataFolder(applicationSupport);
    fs::create_directories(applicationSupport);
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        throw fs::filesystem_error("The data folder cannot be made", folder,
                                   std::error_code(errno, std::generic_category()));
    }
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

std::shared_ptr<FileIndexService> makeFileIndex(const Platform& platform, std::shared_ptr<Database> database) {
    const FileIndexRepository repository(std::move(database), platform.paths.home, platform.clock);
    const FileIndexService::Folders folders{platform.paths.home, dataFolder(platform.paths.applicationSupport)};
    auto events = platform.makeFileEvents(std::make_shared<IndexedEntries>(repository),
                                          FileIndexService::skippedPrefixes(folders));
    return std::make_shared<FileIndexService>(
        platform.main, platform.pool, platform.clock, repository,
        FileIndexService::Disk{platform.fileScanner, std::move(events), platform.fileAttributes}, folders);
}

}  // namespace

Task<std::shared_ptr<AppServices>> AppServices::create(Platform platform, SettingsFactory makeSettings) {
    Actor background(platform.pool);
    const auto makeFolder = [support = platform.paths.applicationSupport] { return makeDataFolder(support); };
    const std::string folder = co_await background.run(makeFolder);
    const std::string file = folder + "/velmora.sqlite";
    auto database = co_await Database::open(file, platform.pool);
    co_return std::make_shared<AppServices>(platform, std::move(database), std::move(makeSettings));
}

AppServices::AppServices(Platform given, std::shared_ptr<Database> opened, SettingsFactory makeSettings)
    : platform(std::move(given)),
      database(std::move(opened)),
      applications(std::make_shared<ApplicationService>(
          platform.main, platform.pool, platform.clock, platform.workspace,
          std::make_shared<ApplicationIndexer>(platform.pool, platform.applicationBundles), platform.paths.home)),
      system(std::make_shared<SystemService>(platform.workspace, platform.power, platform.screenLock, platform.trash,
                                             platform.paths.home)),
      permissions(platform.alerts),
      usage(database, platform.clock),
      settings(database),
      appLaunches(database, platform.clock),
      quicklinks(database),
      files(std::make_shared<FileService>(platform.pool, platform.workspace, platform.pasteboard, platform.popUpMenu,
                                          platform.folderPanel, platform.paths.home)),
      fileIndex(makeFileIndex(platform, database)),
      shortcuts(std::make_shared<ShortcutsService>(
          platform.main, platform.clock,
          std::make_shared<ShortcutsCLI>(platform.main, platform.pool, platform.clock, platform.childProcesses,
                                         platform.shortcutsTools))),
      clipboard(std::make_shared<ClipboardService>(platform.main, platform.pool, platform.clock, platform.pasteboard,
                                                   platform.frontmost, ClipboardRepository(database, platform.clock))),
      fileSearch(std::make_shared<FileResults>(fileIndex, files)),
      clipboardSearch(clipboard),
      makeSettings_(std::move(makeSettings)) {}

SettingsState& AppServices::preferences() {
    VELMORA_ASSERT_MAIN();
    if (!preferences_) preferences_ = makeSettings_(*this);
    return *preferences_;
}

}  // namespace velmora
