#pragma once

#include <QDBusVariant>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>
#include <functional>
#include <memory>

namespace velmora {

/// The program's item in the desktop's panel, with its menu.
///
/// A desktop may have no place for such items, or get one only after the program has started: the item appears when the
/// place does. Runs on: the main thread.
class StatusItem final : public QObject {
    Q_OBJECT

  public:
    struct Actions {
        std::function<void()> open;
        std::function<void()> settings;  ///< empty: the menu has no such entry
        std::function<void()> quit;
    };

    /// `legacyTray`: the window system has a tray of the older kind, which needs no session bus.
    StatusItem(Actions actions, bool legacyTray);

    [[nodiscard]] QMenu& menu() { return menu_; }

    /// Whether a desktop that shows such items has been given this one.
    [[nodiscard]] bool isVisible() const;

    /// Whether a place for it may still turn up, as panels do some time after log-in.
    [[nodiscard]] bool isAwaited() const { return giveUp_.isActive(); }

  private Q_SLOTS:
    void hostRegistered();

  private:
    void buildMenu();
    void askForHost();
    void appear();

    Actions actions_;
    QMenu menu_;
    QTimer giveUp_;
    std::unique_ptr<QSystemTrayIcon> icon_;
};

}  // namespace velmora
