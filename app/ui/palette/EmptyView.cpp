#include "app/ui/palette/EmptyView.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QPainter>

namespace velmora {
namespace {

constexpr int symbolSize = 36;
constexpr int gap = 12;
constexpr int widestHelp = 440;

}  // namespace

EmptyView::EmptyView(QWidget* parent) : QWidget(parent) {}

void EmptyView::show(const PaletteScreen::Nothing& content) {
    if (content == content_) return;
    content_ = content;
    setAccessibleName(texts::of(content.heading));
    setAccessibleDescription(texts::of(content.help));
    update();
}

void EmptyView::paintEvent(QPaintEvent*) {
    if (content_.heading.empty()) return;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    const QFont headingFont = Theme::font(Theme::titleFont, QFont::DemiBold);
    const QFont helpFont = Theme::font(Theme::textFont);
    const QFontMetrics headingMetrics(headingFont);
    const int wide = std::min(widestHelp, width() - 4 * gap);
    const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;
    const QString help = texts::of(content_.help);
    const QRect helpSize = QFontMetrics(helpFont).boundingRect(QRect(0, 0, wide, height()), flags, help);
    const int total = symbolSize + gap + headingMetrics.height() + gap / 2 + helpSize.height();
    // A little above the middle looks centred.
    int top = (height() - total) * 9 / 20;
    painter.drawPixmap(QPoint((width() - symbolSize) / 2, top),
                       SymbolIcons::pixmap(texts::of(content_.symbol), symbolSize, devicePixelRatioF(), theme.border));
    top += symbolSize + gap;
    painter.setFont(headingFont);
    painter.setPen(theme.text);
    painter.drawText(QRect(0, top, width(), headingMetrics.height()), Qt::AlignCenter, texts::of(content_.heading));
    top += headingMetrics.height() + gap / 2;
    painter.setFont(helpFont);
    painter.setPen(theme.secondary);
    painter.drawText(QRect((width() - wide) / 2, top, wide, helpSize.height() + gap), flags, help);
}

}  // namespace velmora
