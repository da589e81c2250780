#include "app/ui/palette/CommandPanel.h"

#include "app/ui/shell/Trace.h"
#include "app/ui/widgets/Shadow.h"
#include "app/ui/widgets/Theme.h"

#include <QApplication>
#include <QInputMethod>
#include <QMouseEvent>
#include <QPainter>
#include <QWindow>

namespace velmora {
namespace {

constexpr Shadow shadow{Theme::cornerRadius, 40, 12};

std::optional<CommandPanel::Key> panelKey(const QKeyEvent& event) {
    if (event.key() == Qt::Key_Escape) return CommandPanel::Key::escape;
    // ⌘ is the Super key; Control works wherever it is shown.
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    if (!(modifiers & (Qt::MetaModifier | Qt::ControlModifier)) || modifiers & Qt::AltModifier) return std::nullopt;
    if (event.key() == Qt::Key_K) return CommandPanel::Key::actions;
    if (event.key() == Qt::Key_Y) return CommandPanel::Key::preview;
    return std::nullopt;
}

}  // namespace

CommandPanel::CommandPanel()
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint) {
    setWindowTitle(QStringLiteral("Velmora Brisklane"));
    setAccessibleName(windowTitle());
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    resize(Theme::panelWidth, Theme::panelHeight);
    winId();  // the window behind the widget, which sees keys before any widget does
    windowHandle()->installEventFilter(this);
}

CommandPanel::~CommandPanel() {
    onDeactivate = [] {};
    onChildClosed = [] {};
}

void CommandPanel::setContent(QWidget* content) {
    content_ = content;
    content_->setParent(this);
    content_->setGeometry(contentRect());
    content_->show();
}

void CommandPanel::setComposited(bool composited) {
    composited_ = composited;
    resize(QSize(Theme::panelWidth, Theme::panelHeight).grownBy(shadowMargins()));
}

QMargins CommandPanel::shadowMargins() const {
    return composited_ ? shadow.margins() : QMargins();
}

bool CommandPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched != windowHandle()) {
        if (event->type() == QEvent::Hide && !event->spontaneous()) onChildClosed();
        return QWidget::eventFilter(watched, event);
    }
    if (event->type() != QEvent::KeyPress) return false;
    trace::mark("key");
    const auto& press = *static_cast<QKeyEvent*>(event);
    const auto key = panelKey(press);
    if (!key) return false;
    if (!press.isAutoRepeat() || *key == Key::escape) onKey(*key);
    return true;
}

bool CommandPanel::event(QEvent* event) {
    if (event->type() == QEvent::WindowDeactivate) onDeactivate();
    return QWidget::event(event);
}

void CommandPanel::childEvent(QChildEvent* event) {
    QWidget::childEvent(event);
    if (!event->polished()) return;
    const auto* const child = qobject_cast<QWidget*>(event->child());
    if (child && (child->windowType() == Qt::Dialog || child->windowType() == Qt::Popup))
        event->child()->installEventFilter(this);
}

void CommandPanel::closeEvent(QCloseEvent* event) {
    event->ignore();
    onDismiss();
}

void CommandPanel::paintEvent(QPaintEvent* event) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    const QRect content = contentRect();
    const int inset = composited_ ? Theme::cornerRadius : 1;
    const bool middleOnly = content.adjusted(1, inset, -1, -inset).contains(event->rect());
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (middleOnly || !composited_) {
        painter.fillRect(event->rect(), theme.background);
    } else {
        painter.fillRect(event->rect(), Qt::transparent);
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (!middleOnly) {
        const double radius = composited_ ? Theme::cornerRadius : 0;
        if (composited_) {
            painter.setRenderHint(QPainter::Antialiasing);
            shadow.draw(painter, content);
        }
        painter.setPen(QPen(theme.border, 1));
        painter.setBrush(theme.background);
        painter.drawRoundedRect(QRectF(content).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    }
    tracePaint();
}

void CommandPanel::tracePaint() {
    if (!trace::enabled() || std::exchange(tracing_, true)) return;
    // The loop comes round when everything has been painted and handed to the window system.
    const auto painted = [this] {
        tracing_ = false;
        trace::mark("paint");
    };
    QMetaObject::invokeMethod(this, painted, Qt::QueuedConnection);
}

void CommandPanel::resizeEvent(QResizeEvent*) {
    if (content_) content_->setGeometry(contentRect());
}

void CommandPanel::mousePressEvent(QMouseEvent* event) {
    if (!contentRect().contains(event->pos())) return onDismiss();
    if (event->button() == Qt::LeftButton) dragStart_ = event->pos();
}

void CommandPanel::mouseMoveEvent(QMouseEvent* event) {
    if (!dragStart_) return;
    if ((event->pos() - *dragStart_).manhattanLength() < QApplication::startDragDistance()) return;
    if (windowHandle()->startSystemMove()) {
        dragStart_.reset();
    } else {
        // No window manager does it.
        move(event->globalPosition().toPoint() - *dragStart_);
    }
}

void CommandPanel::mouseReleaseEvent(QMouseEvent*) {
    dragStart_.reset();
}

}  // namespace velmora
