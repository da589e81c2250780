#include "app/ui/palette/NoticeLine.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace velmora {
namespace {

constexpr int lineHeight = 44;
constexpr int symbolSize = 16;
constexpr int padding = 12;
constexpr int gap = 8;

QAccessibleInterface* accessible(const QString& className, QObject* object) {
    if (className != QLatin1String(NoticeLine::staticMetaObject.className())) return nullptr;
    auto* const line = static_cast<NoticeLine*>(object);
    return new QAccessibleWidget(
        line, line->kind() == NoticeLine::Kind::error ? QAccessible::AlertMessage : QAccessible::StaticText);
}

}  // namespace

NoticeLine::NoticeLine(Kind kind, const QString& symbol, QWidget* parent)
    : QWidget(parent), kind_(kind), symbol_(symbol) {
    static const bool installed = (QAccessible::installFactory(&accessible), true);
    Q_UNUSED(installed)
    setFixedHeight(lineHeight);
    hide();
}

void NoticeLine::show(const QString& text) {
    if (text == text_) return;
    text_ = text;
    setAccessibleName(text);
    setVisible(!text.isEmpty());
    update();
    if (text.isEmpty() || kind_ != Kind::error || !QAccessible::isActive()) return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

bool NoticeLine::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* const help = static_cast<QHelpEvent*>(event);
        const bool cut = QFontMetrics(Theme::font(Theme::textFont)).horizontalAdvance(text_) > width() - 4 * padding;
        if (cut) QToolTip::showText(help->globalPos(), text_.toHtmlEscaped(), this);
        return true;
    }
    return QWidget::event(event);
}

void NoticeLine::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    const bool isError = kind_ == Kind::error;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isError ? theme.dangerFill : theme.hover);
    const QRect box = rect().adjusted(Theme::listMargin, Theme::listMargin, -Theme::listMargin, 0);
    painter.drawRoundedRect(box, Theme::rowRadius, Theme::rowRadius);
    const QColor colour = isError ? theme.danger : theme.secondary;
    const QRect icon(box.left() + padding, box.center().y() - symbolSize / 2 + 1, symbolSize, symbolSize);
    painter.drawPixmap(QStyle::visualRect(layoutDirection(), rect(), icon).topLeft(),
                       SymbolIcons::pixmap(symbol_, symbolSize, devicePixelRatioF(), colour));
    const QRect words(icon.right() + 1 + gap, box.top(), box.right() - padding - icon.right() - gap, box.height());
    painter.setFont(Theme::font(Theme::textFont));
    painter.setPen(colour);
    texts::draw(painter, QStyle::visualRect(layoutDirection(), rect(), words), text_, layoutDirection());
}

}  // namespace velmora
