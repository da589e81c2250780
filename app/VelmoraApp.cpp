// The program's entry: command line, single instance, and the platform that everything else runs on.

#include "app/AppDelegate.h"
#include "app/TerminationSignals.h"
#include "app/log/AppLog.h"
#include "app/ui/shell/Trace.h"
#include "app/ui/shell/SystemAppearance.h"
#include "core/Assert.h"
#include "platform/Runtime.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/dbus/SessionName.h"
#include "platform/qt/QtMainExecutor.h"
#include "platform/qt/QtPlatform.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string_view>

namespace velmora {
namespace {

bool hasGraphicalSession() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
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

int run(int argc, char** argv, bool showAtStart, SessionName& name) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("Velmora");
    QApplication::setDesktopFileName("dev.velmora.brisklane");
    QApplication::setQuitOnLastWindowClosed(false);

    LinuxPlatform linuxPlatform;
    QtMainExecutor main;
    const SystemAppearance appearance;
    QtPlatform qtPlatform(linuxPlatform.clipboard());
    AppDelegate delegate(linuxPlatform.platform(main.executor(), qtPlatform.toolkit()),
                         ViewPlatform{qtPlatform.windowManager(), linuxPlatform.fileIcons()}, showAtStart);
    const TerminationSignals signals([&delegate] { delegate.terminate(); });
    const QuitRequests quitRequests(application, [&delegate] { delegate.terminate(); });
    name.onShow = [&delegate] { delegate.show(); };
    const auto watcher = watch(name);
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
