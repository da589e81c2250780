#include "app/ui/palette/PaletteController.h"

#include "app/log/AppLog.h"
#include "app/ui/icons/ResultIcons.h"
#include "app/ui/palette/PaletteInput.h"
#include "app/ui/palette/PaletteView.h"
#include "app/ui/widgets/Theme.h"
#include "platform/Runtime.h"

#include <QApplication>
#include <QCursor>
#include <QDialog>
#include <QInputMethod>
#include <QScreen>
#include <QWindow>

namespace velmora {
namespace {

constexpr double raise = 0.08;  // of the screen's height, above its middle

QScreen& screenWithMouse() {
    QScreen* const under = QGuiApplication::screenAt(QCursor::pos());
    return under ? *under : *QGuiApplication::primaryScreen();
}

WindowManager::Edges devicePixels(const QMargins& margins, qreal ratio) {
    const auto scaled = [ratio](int length) { return static_cast<std::uint32_t>(qRound(length * ratio)); };
    return {scaled(margins.left()), scaled(margins.right()), scaled(margins.top()), scaled(margins.bottom())};
}

}  // namespace

PaletteController::PaletteController(std::shared_ptr<PaletteState> state, Desktop desktop)
    : main_(desktop.main),
      background_(desktop.pool),
      state_(std::move(state)),
      icons_(std::make_shared<ResultIcons>(desktop.main, desktop.pool, desktop.childProcesses,
                                           std::move(desktop.fileIcons))),
      windowManager_(desktop.windowManager),
      view_(new PaletteView(state_, icons_, nullptr)) {
    panel_.setContent(view_);
    panel_.setFocusProxy(&view_->input());
    hides_ = state_->onHide([this] { hide(); });
    panel_.onKey = [this](CommandPanel::Key key) { handle(key); };
    panel_.onDeactivate = [this] { deactivated(); };
    panel_.onChildClosed = [this] { childClosed(); };
    panel_.onDismiss = [this] { hide(); };
}

PaletteController::~PaletteController() = default;

void PaletteController::toggle() {
    shown_ && !openDialog() ? hide() : show();
}

void PaletteController::show() {
    QDialog* const dialog = openDialog();
    if (dialog) {
        if (shown_) panel_.raise();
        bringForward(*dialog);
    } else if (shown_) {
        bringForward(panel_);
    } else {
        open();
    }
}

void PaletteController::hide() {
    if (!std::exchange(shown_, false)) return;
    panel_.hide();
    state_->rest();
    icons_->rest();
    AppLog::app.info("Palette hidden");
    // What was listed and previewed can have been large, and nobody waits for the window now.
    spawn(main_, [background = background_]() mutable -> Task<> { co_await background.run(returnFreeMemory); });
}

void PaletteController::open() {
    state_->enter(PaletteState::Mode::commands);
    state_->groups().refresh();
    panel_.setComposited(windowManager_.composited());
    place();
    windowManager_.makePanel(panel_.winId(), devicePixels(panel_.shadowMargins(), panel_.devicePixelRatioF()));
    shown_ = true;
    panel_.show();
    bringForward(panel_);
    view_->input().setFocus();
    view_->preloadIcons();
    AppLog::app.info("Palette shown");
}

void PaletteController::place() {
    QScreen& screen = screenWithMouse();
    panel_.windowHandle()->setScreen(&screen);
    const QRect area = screen.availableGeometry();
    const int left = area.left() + (area.width() - Theme::panelWidth) / 2;
    const int top = area.top() + (area.height() - Theme::panelHeight) / 2 - qRound(area.height() * raise);
    const QMargins margins = panel_.shadowMargins();
    panel_.move(left - margins.left(), std::max(top, area.top()) - margins.top());
}

void PaletteController::bringForward(QWidget& window) {
    window.raise();
    window.activateWindow();
    windowManager_.activate(window.winId());
}

void PaletteController::handle(CommandPanel::Key key) {
    if (openDialog()) return;
    switch (key) {
        case CommandPanel::Key::escape:
            if (view_->input().composing()) {
                QGuiApplication::inputMethod()->reset();
            } else {
                state_->escape();
            }
            break;
        case CommandPanel::Key::actions:
            state_->toggleActions();
            break;
        case CommandPanel::Key::preview:
            state_->togglePreview();
            break;
    }
}

/// The dialog of ours that waits for an answer: one over the palette, or one that nothing can be done beside.
QDialog* PaletteController::openDialog() const {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(window);
        if (!dialog || !dialog->isVisible() || !dialog->isModal()) continue;
        if (dialog->windowModality() == Qt::ApplicationModal || dialog->parentWidget() == &panel_) return dialog;
    }
    return nullptr;
}

void PaletteController::deactivated() {
    if (shown_ && !openDialog() && !QApplication::activePopupWidget()) hide();
}

void PaletteController::childClosed() {
    // Window managers give the keyboard to whichever window they like, while the palette stays on top of it.
    if (shown_ && !openDialog()) bringForward(panel_);
}

}  // namespace velmora
