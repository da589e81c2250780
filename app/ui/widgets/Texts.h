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
inline QString line(std::string_view text) {
    constexpr std::size_t longest = 1024;  // bytes; measuring a text costs time in proportion to its length
    return of(text.substr(0, longest)).simplified();
}

/// Draws one line, centred vertically, at the leading (or trailing) end of `area` in a window of that direction; the
/// text itself reads in its own. What does not fit is elided.
void draw(QPainter& painter, const QRect& area, const QString& text, Qt::LayoutDirection window,
          Qt::AlignmentFlag end = Qt::AlignLeft, Qt::TextElideMode elision = Qt::ElideRight);

}  // namespace velmora::texts
