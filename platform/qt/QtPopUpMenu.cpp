#include "platform/qt/QtPopUpMenu.h"

#include "core/Assert.h"
#include "core/async/Completion.h"

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
    const auto open = [&](const Completion<>& closed) {
        menu = new QMenu(QApplication::activeWindow());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (std::size_t i = 0; i < titles.size(); ++i) {
            menu->addAction(plain(titles[i]), menu, [chosen, i] { *chosen = i; });
        }
        // Destroyed after it has closed and its action was told of.
        QObject::connect(menu, &QObject::destroyed, [closed] { closed.fulfil(); });
        menu->popup(QCursor::pos());
    };
    const auto close = [&menu] {
        if (menu) menu->close();
    };
    co_await Completion<>::await(open, close);
    co_await throwIfCancelled();
    co_return *chosen;
}

}  // namespace velmora
