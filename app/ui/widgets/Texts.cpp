#include "app/ui/widgets/Texts.h"

#include <QFontMetrics>
#include <QStyle>
#include <algorithm>

namespace velmora {
namespace {

/// Embeddings, overrides and isolates (UAX #9), and characters without a width. The joiners and the plain marks of
/// direction stay: scripts and emoji are written with them.
bool deceives(QChar character) {
    const char16_t code = character.unicode();
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) ||
           (code >= 0x2060 && code <= 0x2064) || (code >= 0xFFF9 && code <= 0xFFFB) || code == 0x00AD ||
           code == 0x180E || code == 0x200B || code == 0xFEFF || code < 0x20 || (code >= 0x7F && code < 0xA0);
}

}  // namespace

QString texts::line(std::string_view text) {
    constexpr std::size_t longest = 1024;  // bytes; measuring a text costs time in proportion to its length
    QString shown = of(text.substr(0, longest)).simplified();
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
