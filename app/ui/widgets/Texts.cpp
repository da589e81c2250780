#include "app/ui/widgets/Texts.h"

#include <QFontMetrics>
#include <QStyle>

namespace velmora {

void texts::draw(QPainter& painter, const QRect& area, const QString& text, Qt::LayoutDirection window,
                 Qt::AlignmentFlag end, Qt::TextElideMode elision) {
    const Qt::Alignment alignment = QStyle::visualAlignment(window, end | Qt::AlignVCenter) | Qt::AlignAbsolute;
    const QFontMetrics metrics(painter.font(), painter.device());
    // Eliding by itself would shorten a text that fits exactly.
    const bool fits = metrics.horizontalAdvance(text) <= area.width();
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.drawText(area, static_cast<int>(alignment) | Qt::TextSingleLine,
                     fits ? text : metrics.elidedText(text, elision, area.width()));
}

}  // namespace velmora
