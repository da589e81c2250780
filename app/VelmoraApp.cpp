// The program's entry: command line, single instance, and the platform that everything else runs on.

#include "app/AppDelegate.h"
#include "app/log/AppLog.h"
#include "app/ui/icons/IconDecoder.h"
#include "app/ui/shell/DBusAvailability.h"
#include "app/ui/shell/SystemAppearance.h"
#include "app/ui/shell/Trace.h"
#include "core/Assert.h"
#include "platform/Runtime.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/dbus/SingleInstance.h"
#include "platform/linux/process/ResourceLimits.h"
#include "platform/linux/session/ExitDeadline.h"
#include "platform/linux/session/TerminationSignals.h"
#include "platform/qt/QtMainExecutor.h"
#include "platform/qt/QtPlatform.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QIcon>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>

namespace velmora {
namespace {

constexpr std::chrono::milliseconds busHeadStart{100};
constexpr std::chrono::seconds quitDeadline{2};
constexpr std::size_t decodingMemory = std::size_t{1} << 30U;

bool hasGraphicalSession() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
}

/// For a second start: the exit code.
int giveWay(SingleInstance& instance, bool show) {
    if (instance.reachFirst(show)) return 0;
    std::cerr << "velmora: the one that runs does not answer, or something else has its name on the session bus\n";
    return 1;
}

/// Watches the session bus for another start of the program asking this one to show itself.
std::unique_ptr<QSocketNotifier> watch(SingleInstance& instance) {
    if (instance.descriptor() < 0) return nullptr;
    auto notifier = std::make_unique<QSocketNotifier>(instance.descriptor(), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [&instance, raw = notifier.get()] {
        if (!instance.process()) raw->setEnabled(false);
    });
    // What came in while the name was being asked for waits inside the connection and shows on no descriptor.
    QMetaObject::invokeMethod(
        notifier.get(), [&instance] { static_cast<void>(instance.process()); }, Qt::QueuedConnection);
    return notifier;
}

/// The session's end, and whatever else tells the application to quit, is a wish to end in order: left to itself the
/// toolkit would leave its loop at once.
class QuitRequests final : public QObject {
  public:
    QuitRequests(QGuiApplication& application, std::function<void()> onQuit) : onQuit_(std::move(onQuit)) {
        application.installEventFilter(this);
        // Everything is stored already when the session manager asks for it. It may go on after all, and at the next
        // log-in it is the desktop that starts programs.
        connect(
            &application, &QGuiApplication::commitDataRequest, this,
            [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); },
            Qt::DirectConnection);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched != qApp || event->type() != QEvent::Quit) return false;
        onQuit_();
        return true;
    }

  private:
    std::function<void()> onQuit_;
};

/// The toolkit's messages can hold paths and names of the user's, and escapes for the terminal: only where they come
/// from is logged. What it says last, when it cannot go on at all, is the user's to read.
void onToolkitMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtFatalMsg) {
        std::cerr << message.toStdString() << '\n';
    } else if (type == QtWarningMsg || type == QtCriticalMsg) {
        AppLog::app.error(std::string("The toolkit reports a problem in ") + context.category);
    }
}

/// The toolkit opens what lies in the folders of the icon theme on the main thread, whatever it is, and a pipe there
/// would stop the program. It has pictures of its own for its dialogs; the program's icons are read elsewhere.
void keepToolkitFromIconThemes() {
    const QStringList none{QStringLiteral(":/icons")};  // an empty list stands for the usual folders
    QIcon::setThemeSearchPaths(none);
    QIcon::setFallbackSearchPaths(none);
}

/// The process that decodes pictures for the program. Drawings can have letters, and fonts are the application's.
int decodeIcons(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    limitResources(decodingMemory);
    std::ios::sync_with_stdio(false);
    IconDecoder::serve(std::cin, std::cout, endProcessAfter);
    return 0;
}

/// For benchmarks: a heartbeat that tells for how long the loop came to nothing else.
std::unique_ptr<QTimer> watchLoop() {
    using namespace std::chrono_literals;
    static constexpr auto interval = 1ms;
    static constexpr auto notable = 3ms;
    if (!trace::asksFor("loop")) return nullptr;
    auto beat = std::make_unique<QTimer>();
    beat->setTimerType(Qt::PreciseTimer);
    QElapsedTimer sinceLast;
    sinceLast.start();
    QObject::connect(beat.get(), &QTimer::timeout, beat.get(), [sinceLast]() mutable {
        const std::chrono::nanoseconds gap = std::chrono::nanoseconds(sinceLast.nsecsElapsed()) - interval;
        sinceLast.start();
        if (gap > notable) trace::duration("gap", gap.count());
    });
    beat->start(interval);
    return beat;
}

int run(int argc, char** argv, bool showAtStart, SingleInstance& instance) {
    ExitDeadline exitDeadline;
    qInstallMessageHandler(onToolkitMessage);
    QApplication application(argc, argv);
    if (instance.role() == SingleInstance::Role::second) return giveWay(instance, showAtStart);
    if (instance.role() == SingleInstance::Role::alone) {
        AppLog::app.error("No session bus: further starts will not find this one");
        // The toolkit would wait on the main thread for a bus that keeps silent, and for minutes.
        if (hasSessionBus()) setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    }
    QApplication::setApplicationName("Velmora");
    QApplication::setDesktopFileName("dev.velmora.brisklane");
    QApplication::setQuitOnLastWindowClosed(false);
    keepToolkitFromIconThemes();

    LinuxPlatform linuxPlatform;
    QtMainExecutor main;
    const SystemAppearance appearance;
    QtPlatform qtPlatform(linuxPlatform.clipboard());
    const auto onTerminating = [&](int exitCode) {
        instance.release();
        exitDeadline.start(quitDeadline, exitCode);
    };
    AppDelegate delegate(linuxPlatform.platform(main.executor(), qtPlatform.toolkit()),
                         ViewPlatform{qtPlatform.windowManager(), linuxPlatform.fileIcons()}, showAtStart,
                         onTerminating);
    const TerminationSignals signals(main.executor(), [&delegate] { delegate.terminate(); });
    const QuitRequests quitRequests(application, [&delegate] { delegate.terminate(); });
    instance.onShow = [&delegate] { delegate.show(); };
    const auto watcher = watch(instance);
    const auto heartbeat = watchLoop();
    delegate.launch();
    const int exitCode = QApplication::exec();
    linuxPlatform.stop();
    return exitCode;
}

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
    using namespace velmora;
    if (argc == 2 && std::string_view(argv[1]) == IconDecoder::argument) return decodeIcons(argc, argv);
    bool show = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) != "--show") {
            std::cerr << "velmora: the only option is --show\n";
            return 2;
        }
        show = true;
    }
    setMainThread();
    limitMallocArenas();
    setUnhandledTaskError(
        [](const std::exception_ptr&) noexcept { AppLog::app.error("A task ended in an unexpected failure"); });
    SingleInstance instance;
    // As a rule the answer is here by then. A bus that keeps silent is waited for with the window system up.
    const bool canShow = hasGraphicalSession();
    if (instance.role(canShow ? busHeadStart : SingleInstance::timeout) == SingleInstance::Role::second)
        return giveWay(instance, show);
    if (!canShow) {
        std::cerr << "velmora: there is no graphical session to show itself in\n";
        return 1;
    }
    return run(argc, argv, show, instance);
}
