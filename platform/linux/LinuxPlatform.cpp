#include "platform/linux/LinuxPlatform.h"

#include "platform/Runtime.h"
#include "platform/linux/applications/DesktopEnvironment.h"
#include "platform/linux/applications/LinuxApplicationBundles.h"
#include "platform/linux/applications/LinuxFileIcons.h"
#include "platform/linux/applications/LinuxFrontmostApplication.h"
#include "platform/linux/applications/LinuxWorkspace.h"
#include "platform/linux/clipboard/WaylandClipboard.h"
#include "platform/linux/dbus/Logind.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/DiskFileScanner.h"
#include "platform/linux/http/CurlHttpClient.h"
#include "platform/linux/posix/RootMounts.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "platform/linux/session/CoreDumps.h"
#include "platform/linux/trash/LinuxTrash.h"
#include "platform/linux/watch/FSEventsWatcher.h"
#include "platform/linux/x11/X11Session.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace velmora {
namespace {

constexpr std::size_t workerThreads = 2;
constexpr std::size_t diskThreads = 2;
constexpr std::size_t storageThreads = 4;  // writing, reading, copying the log into the file, and looking for damage

/// The home folder of the account, whatever the environment says.
std::string accountHome() {
    const passwd* entry = getpwuid(getuid());
    return entry && entry->pw_dir ? entry->pw_dir : "/";
}

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    return home && *home == '/' ? home : accountHome();
}

/// The system's own tool, or else ours: next to this program, or where an installation puts programs for programs.
std::vector<std::string> shortcutsTools() {
    std::vector<std::string> tools{"/usr/bin/shortcuts"};
    std::error_code failure;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure) return tools;
    const std::filesystem::path folder = program.parent_path();
    tools.push_back((folder / "velmora-shortcuts").string());
    tools.push_back((folder.parent_path() / "libexec/velmora/velmora-shortcuts").string());
    return tools;
}

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

std::unique_ptr<X11Session> connectX11() {
    if (environment("DISPLAY").empty()) return nullptr;
    return std::make_unique<X11Session>(X11Session::Options{});
}

}  // namespace

struct LinuxPlatform::Services {
    DesktopEnvironment desktop = DesktopEnvironment::ofProcess(homeFolder());
    WorkerPool pool{workerThreads};
    WorkerPool disk{diskThreads};
    WorkerPool storage{storageThreads};
    WorkerPool secrets{1};
    SystemClock clock;
    LinuxWorkspace workspace{disk.executor(), desktop};
    LinuxChildProcesses childProcesses{pool.executor(), desktop.home};
    LogindPower power{pool.executor()};
    LogindScreenLock screenLock{pool.executor()};
    SecretServiceStore credentials{{}};
    CurlHttpClient http;
    LinuxTrash trash{disk.executor(), desktop.dataHome, desktop.home == accountHome()};
    std::unique_ptr<X11Session> x11 = connectX11();
    std::unique_ptr<WaylandClipboard> wayland = WaylandClipboard::connect({});
    std::shared_ptr<const LinuxApplicationBundles> applications = std::make_shared<LinuxApplicationBundles>(desktop);
    LinuxFrontmostApplication frontmost{pool.executor(), x11.get(), applications};
    std::shared_ptr<const FileIcons> fileIcons = std::make_shared<const LinuxFileIcons>(desktop);
};

LinuxPlatform::LinuxPlatform() : services_(std::make_unique<Services>()) {
    keepSecretsFromCoreDumps();
}

LinuxPlatform::~LinuxPlatform() = default;

ClipboardReading* LinuxPlatform::clipboard() const {
    // The X server within a Wayland session shares the clipboard only now and then.
    if (services_->wayland) return services_->wayland.get();
    return services_->x11.get();
}

std::shared_ptr<const FileIcons> LinuxPlatform::fileIcons() const {
    return services_->fileIcons;
}

Platform LinuxPlatform::platform(const MainExecutor& main, const Toolkit& toolkit) const {
    Services& own = *services_;
    const auto rootMounts = std::make_shared<RootMounts>();
    return {
        .main = main,
        .pool = own.pool.executor(),
        .disk = own.disk.executor(),
        .storage = own.storage.executor(),
        .secrets = own.secrets.executor(),
        .clock = own.clock,
        .paths = {own.desktop.home, own.desktop.dataHome},
        .workspace = own.workspace,
        .pasteboard = toolkit.pasteboard,
        .frontmost = own.frontmost,
        .alerts = toolkit.alerts,
        .popUpMenu = toolkit.popUpMenu,
        .folderPanel = toolkit.folderPanel,
        .childProcesses = own.childProcesses,
        .power = own.power,
        .screenLock = own.screenLock,
        .trash = own.trash,
        .credentials = own.credentials,
        .http = own.http,
        .applicationBundles = own.applications,
        .fileScanner = std::make_shared<DiskFileScanner>(own.desktop.home),
        .makeFileEvents =
            [main, rootMounts](std::shared_ptr<IndexReading> index, std::vector<std::string> skipPrefixes) {
                FSEventsWatcher::Options options;
                options.rootMounts = rootMounts;
                options.tree.skipPrefixes = std::move(skipPrefixes);
                return std::make_shared<FSEventsWatcher>(main, std::move(index), std::move(options));
            },
        .fileAttributes = std::make_shared<DiskFileAttributes>(rootMounts),
        .shortcutsTools = shortcutsTools(),
        .responsesURL = environment("VELMORA_RESPONSES_URL"),
    };
}

void LinuxPlatform::stop() {
    services_->clock.stop();
    services_->pool.stop();
    services_->disk.stop();
    services_->storage.stop();
    services_->credentials.stop();
    services_->secrets.stop();
    services_->http.stop();
}

}  // namespace velmora
