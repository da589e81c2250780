#include "app/ui/widgets/ChipButton.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QPainter>
#include <QStyle>

namespace velmora {
namespace {

constexpr int chipHeight = 28;
constexpr int padding = 10;
constexpr int gap = 4;
constexpr int symbolSize = 14;
constexpr int widestText = 200;

}  // namespace

ChipButton::ChipButton(QString symbol, const QString& text, QWidget* parent)
    : QAbstractButton(parent), symbol_(std::move(symbol)) {
    setText(text);
    setFocusPolicy(Qt::NoFocus);
    setFont(Theme::font(Theme::smallFont, QFont::Medium));
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
}

QSize ChipButton::sizeHint() const {
    const int textWidth = std::min(fontMetrics().horizontalAdvance(text()), widestText);
    return {2 * padding + textWidth + (symbol_.isEmpty() ? 0 : symbolSize + gap), chipHeight};
}

void ChipButton::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? theme.separator : theme.chip);
    painter.drawRoundedRect(rect(), 8, 8);
    QRect words = rect().adjusted(padding, 0, -padding, 0);
    const QColor colour = underMouse() ? theme.text : theme.secondary;
    if (!symbol_.isEmpty()) {
        const QRect place(words.left(), (chipHeight - symbolSize) / 2, symbolSize, symbolSize);
        painter.drawPixmap(QStyle::visualRect(layoutDirection(), rect(), place).topLeft(),
                           SymbolIcons::pixmap(symbol_, symbolSize, devicePixelRatioF(), colour));
        words.setLeft(place.right() + 1 + gap);
    }
    painter.setPen(colour);
    texts::draw(painter, QStyle::visualRect(layoutDirection(), rect(), words), text(), layoutDirection(), Qt::AlignLeft,
                Qt::ElideMiddle);
}

}  // namespace velmora
