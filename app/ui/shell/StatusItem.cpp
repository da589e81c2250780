#include "app/ui/shell/StatusItem.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/shell/DBusAvailability.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <chrono>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";

/// How long a panel may take to start at log-in. The toolkit looks for one of the newer kind only once; afterwards it
/// waits for one of the older kind for as long as the program runs.
constexpr auto panelTimeout = 30s;

/// Stands out from light panels and dark ones alike.
const QColor iconColour(0x5b, 0x7c, 0xf0);

QIcon icon() {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(SymbolIcons::pixmap(QStringLiteral("square.grid.3x3.fill"), size, 1, iconColour));
    return icon;
}

}  // namespace

StatusItem::StatusItem(Actions actions, bool legacyTray) : actions_(std::move(actions)) {
    buildMenu();
    if (!hasSessionBus()) {
        appear();
        return;
    }
    QDBusConnection::sessionBus().connect(watcherService, watcherPath, watcherService,
                                          QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(hostRegistered()));
    askForHost();
    giveUp_.setSingleShot(true);
    connect(&giveUp_, &QTimer::timeout, this, [this] { appear(); });
    // Where there is a tray already, only the answer is waited for.
    giveUp_.start(legacyTray ? 1s : panelTimeout);
}

bool StatusItem::isVisible() const {
    return icon_ && QSystemTrayIcon::isSystemTrayAvailable();
}

void StatusItem::buildMenu() {
    connect(menu_.addAction(QStringLiteral("Open Velmora")), &QAction::triggered, this, [this] { actions_.open(); });
    if (actions_.settings) {
        QAction* const settings = menu_.addAction(QStringLiteral("Settings…"));
        settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
        connect(settings, &QAction::triggered, this, [this] { actions_.settings(); });
    }
    menu_.addSeparator();
    QAction* const quit = menu_.addAction(QStringLiteral("Quit Velmora"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    connect(quit, &QAction::triggered, this, [this] { actions_.quit(); });
}

void StatusItem::askForHost() {
    auto call = QDBusMessage::createMethodCall(
        watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << QString(watcherService) << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        finished->deleteLater();
        if (!reply.isError() && reply.value().variant().toBool()) appear();
    });
}

void StatusItem::hostRegistered() {
    appear();
}

void StatusItem::appear() {
    giveUp_.stop();
    if (icon_) return;
    icon_ = std::make_unique<QSystemTrayIcon>(icon());
    icon_->setToolTip(QStringLiteral("Velmora"));
    icon_->setContextMenu(&menu_);
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
            // A click shows the menu, as on a menu bar; desktops that do not show it themselves leave it to us.
            if (!menu_.isVisible()) menu_.popup(QCursor::pos());
        }
    });
    icon_->show();
}

}  // namespace velmora
