#include "app/ui/widgets/KeyCaps.h"

#include "app/ui/widgets/Theme.h"

#include <QFontMetrics>

namespace velmora {
namespace {

constexpr int capHeight = 20;
constexpr int padding = 5;
constexpr int gap = 3;
constexpr int radius = 5;

int capWidth(const QFontMetrics& metrics, const QString& key) {
    return std::max(capHeight, metrics.horizontalAdvance(key) + 2 * padding);
}

QFont capFont() {
    return Theme::font(Theme::keyFont, QFont::Medium);
}

}  // namespace

int keyCaps::width(const QString& keys) {
    const QFontMetrics metrics(capFont());
    int total = -gap;
    for (const QString& key : keys.split(u' ', Qt::SkipEmptyParts))
        total += capWidth(metrics, key) + gap;
    return std::max(total, 0);
}

void keyCaps::draw(QPainter& painter, const QPoint& middleLeft, const QString& keys) {
    const Theme& theme = Theme::current();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(capFont());
    const QFontMetrics metrics(painter.font());
    QRect cap(middleLeft.x(), middleLeft.y() - capHeight / 2, 0, capHeight);
    for (const QString& key : keys.split(u' ', Qt::SkipEmptyParts)) {
        cap.setWidth(capWidth(metrics, key));
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.chip);
        painter.drawRoundedRect(cap, radius, radius);
        painter.setPen(theme.secondary);
        painter.drawText(cap, Qt::AlignCenter | Qt::TextSingleLine, key);
        cap.moveLeft(cap.right() + 1 + gap);
    }
    painter.restore();
}

}  // namespace velmora
