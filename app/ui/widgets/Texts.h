#pragma once

#include <QPainter>
#include <QString>
#include <string_view>

/// Texts on their way to the screen.
namespace velmora::texts {

inline QString of(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// As much of `text` as one line of a window can show, line breaks and other runs of white space as single blanks.
/// Characters that nobody sees but that change what is seen, such as those that turn the order of the others around,
/// show as U+FFFD: a name must not pass for another one.
QString line(std::string_view text);

/// Draws one line, centred vertically, at the leading (or trailing) end of `area` in a window of that direction; the
/// text itself reads in its own. What does not fit is elided.
void draw(QPainter& painter, const QRect& area, const QString& text, Qt::LayoutDirection window,
          Qt::AlignmentFlag end = Qt::AlignLeft, Qt::TextElideMode elision = Qt::ElideRight);

}  // namespace velmora::texts
