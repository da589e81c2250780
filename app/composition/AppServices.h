#pragma once

#include "app/ai/AIRuntime.h"
#include "app/services/PermissionService.h"
#include "app/services/Preferences.h"
#include "app/services/ResultSource.h"
#include "app/storage/AppLaunchRepository.h"
#include "app/storage/CommandUsageStore.h"
#include "app/storage/ConversationRepository.h"
#include "app/storage/QuicklinkRepository.h"
#include "app/storage/SettingsRepository.h"
#include "app/storage/sqlite/Database.h"
#include "platform/Platform.h"

#include <memory>
#include <string>

namespace velmora {

class ApplicationService;
class ClipboardService;
class FileIndexService;
class FileService;
class KeychainService;
class MCPManager;
class ShortcutsService;
class StorageHealth;
class SystemService;

/// The composition root: every service and repository of the process, made once and handed to whoever needs it, and
/// their one life: `start` and `startWatching` start them in their order, `stop` ends them in theirs, and nothing else
/// does either.
///
/// Runs on: the main thread. Owns: the database and the services; the platform they run on outlives it.
class AppServices {
  public:
    /// Makes the data folder (private to the user) and opens the database in it, off the main thread. Fails with
    /// `AppError` (database) or, when the folder cannot be made, `std::filesystem::filesystem_error`.
    [[nodiscard]] static Task<std::shared_ptr<AppServices>> create(Platform platform);

    AppServices(Platform platform, std::shared_ptr<Database> database);
    ~AppServices();
    AppServices(const AppServices&) = delete;
    AppServices& operator=(const AppServices&) = delete;

    /// Registers the native tools, starts the file index and the shortcuts, and loads the preferences. Call once. Fails
    /// with what registering and loading fail with; `Cancelled` once `stop` has been called.
    [[nodiscard]] Task<> start();

    /// Begins to watch what changes by itself: the clipboard, which applications are installed, and how the database's
    /// file is. Does nothing once the services have been stopped.
    void startWatching();

    /// Ends what works by itself. Later calls do nothing.
    void stopWatching();

    /// Ends everything in order and closes the database, after the operations before it. `start` must have ended.
    [[nodiscard]] Task<> stop();

    const Platform platform;
    const std::shared_ptr<Database> database;
    const std::shared_ptr<KeychainService> keychain;
    const std::shared_ptr<ApplicationService> applications;
    const std::shared_ptr<SystemService> system;
    PermissionService permissions;
    CommandUsageStore usage;
    SettingsRepository settings;
    Preferences preferences;
    AppLaunchRepository appLaunches;
    QuicklinkRepository quicklinks;
    ConversationRepository conversations;
    const std::shared_ptr<FileService> files;
    const std::shared_ptr<FileIndexService> fileIndex;
    const std::shared_ptr<StorageHealth> health;
    const std::shared_ptr<ShortcutsService> shortcuts;
    const std::shared_ptr<ClipboardService> clipboard;

    /// What the files and the clipboard mode search; a mode without a source finds nothing.
    std::shared_ptr<ResultSource> fileSearch;
    std::shared_ptr<ResultSource> clipboardSearch;

    /// Every tool of the assistant, and what carries out its requests; made when they are first asked for.
    [[nodiscard]] ToolRegistry& tools();
    [[nodiscard]] AIRuntime& ai();

    /// The MCP servers; made when they are first asked for.
    [[nodiscard]] MCPManager& mcp();

    /// The model of that name, for one request of the assistant.
    [[nodiscard]] std::shared_ptr<ModelProvider> modelProvider(std::string model) const;

  private:
    void apply(const AppPreferences& changed);

    const std::string responsesEndpoint_;
    std::unique_ptr<ToolRegistry> tools_;
    std::unique_ptr<AIRuntime> ai_;
    std::unique_ptr<MCPManager> mcp_;
    Subscription preferenceChanges_;
    bool stopped_ = false;
};

}  // namespace velmora
