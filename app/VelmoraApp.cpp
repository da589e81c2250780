// The program's entry: command line, single instance, and the platform that everything else runs on.

#include "app/AppDelegate.h"
#include "app/TerminationSignals.h"
#include "app/log/AppLog.h"
#include "app/ui/shell/Measure.h"
#include "app/ui/shell/SystemAppearance.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "platform/Runtime.h"
#include "platform/linux/applications/DesktopEnvironment.h"
#include "platform/linux/applications/LinuxApplicationBundles.h"
#include "platform/linux/applications/LinuxFileIcons.h"
#include "platform/linux/applications/LinuxFrontmostApplication.h"
#include "platform/linux/applications/LinuxWorkspace.h"
#include "platform/linux/clipboard/WaylandClipboard.h"
#include "platform/linux/dbus/Logind.h"
#include "platform/linux/dbus/SessionName.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/DiskFileScanner.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "platform/linux/trash/LinuxTrash.h"
#include "platform/linux/watch/FSEventsWatcher.h"
#include "platform/linux/x11/X11Session.h"
#include "platform/qt/QtAlerts.h"
#include "platform/qt/QtFolderPanel.h"
#include "platform/qt/QtMainExecutor.h"
#include "platform/qt/QtPasteboard.h"
#include "platform/qt/QtPopUpMenu.h"
#include "platform/qt/X11WindowManager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace velmora {
namespace {

constexpr std::size_t workerThreads = 3;

/// The home folder of the account, whatever the environment says.
std::string accountHome() {
    const passwd* entry = getpwuid(getuid());
    return entry && entry->pw_dir ? entry->pw_dir : "/";
}

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    return home && *home == '/' ? home : accountHome();
}

bool hasGraphicalSession() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
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

std::unique_ptr<X11Session> connectX11() {
    const char* const display = std::getenv("DISPLAY");
    if (!display || !*display) return nullptr;
    return std::make_unique<X11Session>(X11Session::Options{});
}

/// Watches the session bus for another start of the program asking this one to show itself.
std::unique_ptr<QSocketNotifier> watch(SessionName& name) {
    if (name.descriptor() < 0) return nullptr;
    auto notifier = std::make_unique<QSocketNotifier>(name.descriptor(), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [&name, raw = notifier.get()] {
        if (!name.process()) raw->setEnabled(false);
    });
    // What came in while the name was being asked for waits inside the connection and shows on no descriptor.
    QMetaObject::invokeMethod(
        notifier.get(), [&name] { static_cast<void>(name.process()); }, Qt::QueuedConnection);
    return notifier;
}

/// For benchmarks: a heartbeat that tells for how long the loop came to nothing else.
std::unique_ptr<QTimer> watchLoop() {
    using namespace std::chrono_literals;
    static constexpr auto interval = 1ms;
    static constexpr auto notable = 3ms;
    if (!measure::asksFor("loop")) return nullptr;
    auto beat = std::make_unique<QTimer>();
    beat->setTimerType(Qt::PreciseTimer);
    QElapsedTimer sinceLast;
    sinceLast.start();
    QObject::connect(beat.get(), &QTimer::timeout, beat.get(), [sinceLast]() mutable {
        const std::chrono::nanoseconds gap = std::chrono::nanoseconds(sinceLast.nsecsElapsed()) - interval;
        sinceLast.start();
        if (gap > notable) measure::duration("gap", gap.count());
    });
    beat->start(interval);
    return beat;
}

int run(int argc, char** argv, bool showAtStart, SessionName& name) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("velmora");
    QApplication::setDesktopFileName("dev.velmora.brisklane");
    QApplication::setQuitOnLastWindowClosed(false);

    const DesktopEnvironment desktop = DesktopEnvironment::ofProcess(homeFolder());
    // Tasks that still wait at the end go when the main loop does, and their timers and pipes with them: those need the
    // clock and the pool, whose threads have stopped by then.
    WorkerPool pool(workerThreads);
    SystemClock clock;
    QtMainExecutor main;
    LinuxWorkspace workspace(pool.executor(), desktop);
    LinuxChildProcesses childProcesses(pool.executor(), desktop.home);
    LogindPower power(pool.executor());
    LogindScreenLock screenLock(pool.executor());
    LinuxTrash trash(pool.executor(), desktop.dataHome, desktop.home == accountHome());
    const SystemAppearance appearance;
    const std::unique_ptr<X11Session> x11 = connectX11();
    // The X server within a Wayland session shares the clipboard only now and then.
    const auto wayland = WaylandClipboard::connect({});
    QtPasteboard pasteboard(wayland ? static_cast<ClipboardReading*>(wayland.get()) : x11.get());
    LinuxFrontmostApplication frontmost(pool.executor(), x11.get());
    X11WindowManager windowManager;
    QtAlerts alerts(windowManager);
    const auto fileIcons = std::make_shared<const LinuxFileIcons>();
    QtPopUpMenu popUpMenu;
    QtFolderPanel folderPanel;
    const Platform platform{
        .main = main.executor(),
        .pool = pool.executor(),
        .clock = clock,
        .paths = {desktop.home, desktop.dataHome},
        .workspace = workspace,
        .pasteboard = pasteboard,
        .frontmost = frontmost,
        .alerts = alerts,
        .popUpMenu = popUpMenu,
        .folderPanel = folderPanel,
        .childProcesses = childProcesses,
        .power = power,
        .screenLock = screenLock,
        .trash = trash,
        .applicationBundles = std::make_shared<LinuxApplicationBundles>(desktop),
        .fileScanner = std::make_shared<DiskFileScanner>(desktop.home),
        .makeFileEvents =
            [&main](std::shared_ptr<IndexReading> index, std::vector<std::string> skipPrefixes) {
                FSEventsWatcher::Options options;
                options.tree.skipPrefixes = std::move(skipPrefixes);
                return std::make_shared<FSEventsWatcher>(main.executor(), std::move(index), std::move(options));
            },
        .fileAttributes = std::make_shared<DiskFileAttributes>(),
        .shortcutsTools = shortcutsTools(),
    };
    AppDelegate delegate(platform, ViewPlatform{windowManager, fileIcons}, showAtStart);
    const TerminationSignals signals([&delegate] { delegate.terminate(); });
    name.onShow = [&delegate] { delegate.show(); };
    const auto watcher = watch(name);
    const auto heartbeat = watchLoop();
    delegate.launch();
    const int exitCode = QApplication::exec();
    clock.stop();
    pool.stop();
    return exitCode;
}

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
    using namespace velmora;
    bool show = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) != "--show") {
            std::cerr << "velmora: the only option is --show\n";
            return 2;
        }
        show = true;
    }
    setMainThread();
    shareHeaps();
    setUnhandledTaskError(
        [](const std::exception_ptr&) noexcept { AppLog::app.error("A task ended in an unexpected failure"); });
    SessionName name;
    if (name.role() == SessionName::Role::second) return !show || name.showFirst() ? 0 : 1;
    if (!hasGraphicalSession()) {
        std::cerr << "velmora: there is no graphical session to show itself in\n";
        return 1;
    }
    if (name.role() == SessionName::Role::alone)
        AppLog::app.error("No session bus: further starts will not find this one");
    return run(argc, argv, show, name);
}
