#include "platform/qt/QtPopUpMenu.h"

#include "core/Assert.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QPointer>

namespace velmora {
namespace {

/// A menu's title with what Qt would take for a mnemonic written out.
QString plain(const std::string& title) {
    return QString::fromStdString(title).replace('&', "&&");
}

}  // namespace

Task<std::optional<std::size_t>> QtPopUpMenu::choose(std::vector<std::string> titles) {
    VELMORA_ASSERT_MAIN();
    co_await throwIfCancelled();
    const auto chosen = std::make_shared<std::optional<std::size_t>>();
    QPointer<QMenu> menu;
    const std::function<void(std::shared_ptr<detail::Waiter>)> park = [&](std::shared_ptr<detail::Waiter> waiter) {
        menu = new QMenu(QApplication::activeWindow());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (std::size_t i = 0; i < titles.size(); ++i) {
            menu->addAction(plain(titles[i]), menu, [chosen, i] { *chosen = i; });
        }
        // Destroyed after it has closed and its action was told of.
        QObject::connect(menu, &QObject::destroyed, [waiter = std::move(waiter)] { waiter->resume(); });
        menu->popup(QCursor::pos());
    };
    const std::function<void(detail::Waiter&)> withdraw = [&menu](detail::Waiter&) {
        if (menu) menu->close();
    };
    co_await detail::suspend(park, withdraw);
    co_await throwIfCancelled();
    co_return *chosen;
}

}  // namespace velmora
