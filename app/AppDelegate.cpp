#include "app/AppDelegate.h"

#include "app/log/AppLog.h"
#include "app/ui/palette/PaletteController.h"
#include "app/ui/shell/StatusItem.h"
#include "app/ui/shell/Trace.h"
#include "app/ui/state/PaletteState.h"
#include "core/Assert.h"

#include <QApplication>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto trayCheck = 1s;
constexpr auto nextTry = 1s;

/// What a start-up failure says of itself.
std::string description(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "Unknown failure.";
    }
}

}  // namespace

AppDelegate::AppDelegate(Platform platform, ViewPlatform viewPlatform, bool showAtStart,
                         std::function<void(int exitCode)> onTerminating)
    : platform_(std::move(platform)),
      viewPlatform_(std::move(viewPlatform)),
      showWhenReady_(showAtStart),
      onTerminating_(std::move(onTerminating)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::launch() {
    VELMORA_ASSERT_MAIN();
    startTask_ = spawn(platform_.main, [this] { return start(); });
    status_ = std::make_unique<StatusItem>(StatusItem::Actions{
                                               .open = [this] { toggle(); },
                                               .settings = {},
                                               .quit = [this] { terminate(); },
                                           },
                                           viewPlatform_.windowManager.hasTray());
}

Task<> AppDelegate::start() {
    std::exception_ptr failure;
    try {
        co_await createServices();
        co_await services_->start();
    } catch (...) {
        failure = std::current_exception();
    }
    if (terminating_) co_return;
    if (failure) {
        if (!alert_) showFailure(failure);
        co_await stayWithoutPalette();
        co_return;
    }
    state_ = std::make_shared<PaletteState>(services_);
    controller_ = std::make_unique<PaletteController>(
        state_, PaletteController::Desktop{platform_.main, platform_.disk, viewPlatform_.windowManager,
                                           platform_.childProcesses, viewPlatform_.fileIcons});
    paletteStart_ = spawn(platform_.main, [state = state_] { return state->start(); });
    AppLog::app.info("Velmora is ready");
    if (std::exchange(showWhenReady_, false)) controller_->show();
}

/// What keeps the data from being opened may go by itself: another program's lock, a full disk. While the alert that
/// tells of it is up, it is tried again.
Task<> AppDelegate::createServices() {
    for (;;) {
        std::exception_ptr failure;
        try {
            services_ = co_await AppServices::create(platform_);
        } catch (const Cancelled&) {
            throw;
        } catch (...) {
            failure = std::current_exception();
        }
        if (!failure) break;
        if (!alert_) showFailure(failure);
        if (alert_.done()) std::rethrow_exception(failure);
        co_await platform_.clock.sleep(nextTry);
    }
    alert_.cancel();
    alert_ = {};
}

void AppDelegate::showFailure(const std::exception_ptr& failure) {
    AppLog::app.error("Velmora could not start");
    alert_ = spawn(platform_.main, [this, detail = description(failure)] {
        return platform_.alerts.showFailure("Velmora could not start", detail);
    });
}

Task<> AppDelegate::stayWithoutPalette() {
    co_await alert_.finished();
    // A panel that comes up late still shows the item; where none does, nothing would be left to end the program with.
    while (status_->isAwaited() && !terminating_)
        co_await platform_.clock.sleep(trayCheck);
    if (!status_->isVisible()) terminate(1);
}

void AppDelegate::toggle() {
    if (controller_ && !terminating_) controller_->toggle();
}

void AppDelegate::show() {
    trace::mark("show");
    if (terminating_) return;
    if (controller_) {
        controller_->show();
    } else {
        showWhenReady_ = true;
    }
}

void AppDelegate::terminate(int exitCode) {
    VELMORA_ASSERT_MAIN();
    if (std::exchange(terminating_, true)) return;
    onTerminating_(exitCode);
    if (services_) services_->stopWatching();
    if (controller_) controller_->hide();
    if (state_) state_->stop();
    startTask_.cancel();
    alert_.cancel();
    paletteStart_.cancel();
    spawn(platform_.main, [this, exitCode] { return shutDown(exitCode); });
}

Task<> AppDelegate::shutDown(int exitCode) {
    co_await startTask_.finished();
    co_await paletteStart_.finished();
    if (services_) co_await services_->stop();
    QCoreApplication::exit(exitCode);
}

}  // namespace velmora
