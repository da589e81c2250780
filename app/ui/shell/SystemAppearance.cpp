#include "app/ui/shell/SystemAppearance.h"

#include "app/ui/shell/DBusAvailability.h"
#include "app/ui/widgets/Theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace velmora {
namespace {

constexpr auto service = "org.freedesktop.portal.Desktop";
constexpr auto path = "/org/freedesktop/portal/desktop";
constexpr auto interface = "org.freedesktop.portal.Settings";
constexpr auto group = "org.freedesktop.appearance";
constexpr auto key = "color-scheme";
constexpr uint preferDark = 1;

}  // namespace

SystemAppearance::SystemAppearance() {
    if (!hasSessionBus()) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    auto call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    call << QString(group) << QString(key);
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        finished->deleteLater();
        if (reply.isError()) return;
        QVariant value = reply.value().variant();
        if (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();  // portals wrap it twice
        apply(value.toUInt());
    });
}

void SystemAppearance::settingChanged(const QString& changedGroup, const QString& changedKey,
                                      const QDBusVariant& value) {
    if (changedGroup == QLatin1String(group) && changedKey == QLatin1String(key)) apply(value.variant().toUInt());
}

void SystemAppearance::apply(uint preference) {
    if (preference == preferDark) {
        if (ours_ || Theme::current().dark) return;
        QApplication::setPalette(Theme::darkPalette());
        ours_ = true;
    } else if (ours_) {
        QApplication::setPalette(QPalette());
        ours_ = false;
    }
}

}  // namespace velmora
