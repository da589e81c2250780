#include "app/ui/widgets/Texts.h"

#include "core/text/Invisible.h"

#include <QFontMetrics>
#include <QStyle>
#include <algorithm>

namespace velmora {

QString texts::line(std::string_view text) {
    constexpr std::size_t longest = 1024;  // bytes; measuring a text costs time in proportion to its length
    QString shown = of(text.substr(0, longest)).simplified();
    const auto deceives = [](QChar character) { return text::deceives(character.unicode()); };
    std::replace_if(shown.begin(), shown.end(), deceives, QChar(QChar::ReplacementCharacter));
    return shown;
}

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
