#include "app/ui/palette/PaletteFooter.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/KeyCaps.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QPainter>
#include <QStyle>

namespace velmora {
namespace {

constexpr int padding = 16;
constexpr int gap = 8;
constexpr int hintGap = 14;
constexpr int symbolSize = 16;
constexpr QStringView hintSeparator = u"   ";

}  // namespace

PaletteFooter::PaletteFooter(QWidget* parent) : QWidget(parent) {
    setFixedHeight(Theme::footerHeight);
}

void PaletteFooter::show(const PaletteScreen::Footer& content) {
    if (content == content_) return;
    content_ = content;
    setAccessibleName(texts::of(content.title));
    setAccessibleDescription(texts::of(content.hints.empty() ? content.help + ' ' + content.remark : content.hints));
    update();
}

void PaletteFooter::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), theme.separator);
    QRect area = rect().adjusted(padding, 1, -padding, 0);

    const QRect icon(area.left(), area.center().y() - symbolSize / 2 + 1, symbolSize, symbolSize);
    painter.drawPixmap(
        QStyle::visualRect(layoutDirection(), rect(), icon).topLeft(),
        SymbolIcons::pixmap(texts::of(content_.symbol), symbolSize, devicePixelRatioF(), theme.secondary));
    area.setLeft(icon.right() + 1 + gap);
    painter.setFont(Theme::font(Theme::smallFont, QFont::DemiBold));
    painter.setPen(theme.secondary);
    const QString title = texts::of(content_.title);
    const int titleWidth = QFontMetrics(painter.font()).horizontalAdvance(title);
    texts::draw(painter, QStyle::visualRect(layoutDirection(), rect(), area), title, layoutDirection());
    area.setLeft(area.left() + titleWidth + 2 * gap);
    content_.hints.empty() ? paintHelp(painter, area) : paintHints(painter, area);
}

void PaletteFooter::paintHints(QPainter& painter, QRect area) const {
    const Theme& theme = Theme::current();
    const QFont font = Theme::font(Theme::smallFont);
    const QFontMetrics metrics(font);
    // From the trailing end: what does not fit is left out whole, never cut.
    const QStringList all = texts::of(content_.hints).split(hintSeparator.toString(), Qt::SkipEmptyParts);
    for (auto hint = all.crbegin(); hint != all.crend(); ++hint) {
        const qsizetype blank = hint->lastIndexOf(u' ');
        const QString keys = hint->left(blank);
        const QString meaning = hint->mid(blank + 1);
        const int keysWidth = keyCaps::width(keys);
        const int hintWidth = keysWidth + 5 + metrics.horizontalAdvance(meaning);
        if (hintWidth > area.width()) return;
        const QRect place(area.right() + 1 - hintWidth, area.top(), hintWidth, area.height());
        const QRect caps(place.left(), place.top(), keysWidth, place.height());
        const QRect word = place.adjusted(keysWidth + 5, 0, 0, 0);
        const auto mirrored = [&](const QRect& part) { return QStyle::visualRect(layoutDirection(), rect(), part); };
        keyCaps::draw(painter, QPoint(mirrored(caps).left(), caps.center().y()), keys);
        painter.setFont(font);
        painter.setPen(theme.secondary);
        texts::draw(painter, mirrored(word), meaning, layoutDirection());
        area.setRight(place.left() - hintGap);
    }
}

void PaletteFooter::paintHelp(QPainter& painter, QRect area) const {
    const Theme& theme = Theme::current();
    const auto draw = [&](const QString& text, const QColor& colour) {
        painter.setPen(colour);
        texts::draw(painter, QStyle::visualRect(layoutDirection(), rect(), area), text, layoutDirection(),
                    Qt::AlignRight);
        area.setRight(area.right() - QFontMetrics(painter.font()).horizontalAdvance(text) - 2 * gap);
    };
    if (!content_.remark.empty()) {
        painter.setFont(Theme::font(Theme::smallFont, QFont::DemiBold));
        draw(texts::of(content_.remark), theme.secondary);
    }
    painter.setFont(Theme::font(Theme::smallFont));
    if (area.width() > 0) draw(texts::line(content_.help), theme.secondary);
}

}  // namespace velmora
