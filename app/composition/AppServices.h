#pragma once

#include "app/services/PermissionService.h"
#include "app/services/ResultSource.h"
#include "app/storage/AppLaunchRepository.h"
#include "app/storage/CommandUsageStore.h"
#include "app/storage/QuicklinkRepository.h"
#include "app/storage/SettingsRepository.h"
#include "app/storage/sqlite/Database.h"
#include "platform/Platform.h"

#include <functional>
#include <memory>

namespace velmora {

class ApplicationService;
class ClipboardService;
class FileIndexService;
class FileService;
class SettingsState;
class ShortcutsService;
class SystemService;

/// The composition root: every service and repository of the process, made once and handed to whoever needs it.
///
/// Runs on: the main thread. Owns: the database and the services; the platform they run on outlives it.
class AppServices {
  public:
    /// Makes the settings state, which belongs to a layer above and is therefore not known here.
    using SettingsFactory = std::function<std::shared_ptr<SettingsState>(AppServices&)>;

    /// Makes the data folder (private to the user) and opens the database in it, off the main thread. Fails with
    /// `AppError` (database) or, when the folder cannot be made, `std::filesystem::filesystem_error`.
    [[nodiscard]] static Task<std::shared_ptr<AppServices>> create(Platform platform, SettingsFactory makeSettings);

    AppServices(Platform platform, std::shared_ptr<Database> database, SettingsFactory makeSettings);
    AppServices(const AppServices&) = delete;
    AppServices& operator=(const AppServices&) = delete;

    /// The settings state, made on first use.
    [[nodiscard]] SettingsState& preferences();

    const Platform platform;
    const std::shared_ptr<Database> database;
    const std::shared_ptr<ApplicationService> applications;
    const std::shared_ptr<SystemService> system;
    PermissionService permissions;
    CommandUsageStore usage;
    SettingsRepository settings;
    AppLaunchRepository appLaunches;
    QuicklinkRepository quicklinks;
    const std::shared_ptr<FileService> files;
    const std::shared_ptr<FileIndexService> fileIndex;
    const std::shared_ptr<ShortcutsService> shortcuts;
    const std::shared_ptr<ClipboardService> clipboard;

    /// What the files and the clipboard mode search; a mode without a source finds nothing.
    std::shared_ptr<ResultSource> fileSearch;
    std::shared_ptr<ResultSource> clipboardSearch;

  private:
    SettingsFactory makeSettings_;
    std::shared_ptr<SettingsState> preferences_;
};

}  // namespace velmora
