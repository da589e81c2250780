#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace velmora {

/// Follows the desktop's wish for dark windows, which some desktops state only in the settings portal: while the
/// application's own palette is light but dark is wanted, the application gets a dark one.
///
/// Runs on: the main thread; the portal is asked without waiting. Without a session bus it does nothing.
class SystemAppearance final : public QObject {
    Q_OBJECT

  public:
    SystemAppearance();

  private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void apply(uint preference);

    bool ours_ = false;  // the present palette is the one made here
};

}  // namespace velmora
