#include "toolkit/ChunkLayout.h"

#include "core/text/Invisible.h"

#include <unicode/utf8.h>

#include <QPainter>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace velmora {
namespace {

constexpr int tabWidth = 4;  // blanks

constexpr char32_t replacement = U'\uFFFD';

char32_t shown(UChar32 character) {
    const auto code = static_cast<char32_t>(character);
    if (code == U'\r') return QChar::LineSeparator;
    return character < 0 || (code != U'\t' && text::deceives(code)) ? replacement : code;
}

}  // namespace

ChunkLayout::ChunkLayout(std::string_view chunk, const QFont& font, int width) {
    if (chunk.ends_with('\n')) chunk.remove_suffix(1);
    if (chunk.ends_with('\r')) chunk.remove_suffix(1);
    decode(chunk);
    layout_.setFont(font);
    layout_.setText(text_);
    layout_.setCacheEnabled(true);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    option.setAlignment(text_.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    option.setTabStopDistance(tabWidth * QFontMetricsF(font).horizontalAdvance(u' '));
    layout_.setTextOption(option);
    layout_.beginLayout();
    for (QTextLine line = layout_.createLine(); line.isValid(); line = layout_.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
        line.setPosition({0, height_});
        height_ += line.height();
    }
    layout_.endLayout();
}

void ChunkLayout::decode(std::string_view chunk) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(chunk.data());
    text_.reserve(static_cast<qsizetype>(chunk.size()));
    offsets_.reserve(chunk.size() + 1);
    for (std::size_t at = 0; at < chunk.size();) {
        offsets_.push_back(at);
        UChar32 character = 0;
        U8_NEXT(bytes, at, chunk.size(), character);
        text_ += QChar::fromUcs4(shown(character));
        offsets_.resize(static_cast<std::size_t>(text_.size()), offsets_.back());
    }
    offsets_.push_back(chunk.size());
}

void ChunkLayout::draw(QPainter& painter, const QPointF& corner, const QPalette& colours,
                       std::pair<std::size_t, std::size_t> selection) const {
    painter.setPen(colours.color(QPalette::Active, QPalette::Text));
    QTextLayout::FormatRange selected;
    selected.start = positionOf(selection.first);
    selected.length = positionOf(selection.second) - selected.start;
    if (selected.length <= 0) return layout_.draw(&painter, corner);
    selected.format.setForeground(colours.brush(QPalette::Active, QPalette::HighlightedText));
    selected.format.setBackground(colours.brush(QPalette::Active, QPalette::Highlight));
    layout_.draw(&painter, corner, {selected});
}

std::size_t ChunkLayout::offsetAt(const QPointF& place) const {
    return offsets_[static_cast<std::size_t>(positionAt(place, QTextLine::CursorBetweenCharacters))];
}

QRectF ChunkLayout::placeOf(std::size_t offset) const {
    const int position = positionOf(offset);
    const QTextLine line = layout_.lineForTextPosition(position);
    if (!line.isValid()) return {};
    const double from = line.cursorToX(position);
    const double to = line.cursorToX(position + 1);
    return {std::min(from, to), line.y(), std::abs(to - from), line.height()};
}

std::pair<std::size_t, std::size_t> ChunkLayout::wordAt(const QPointF& place) const {
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text_);
    words.setPosition(positionAt(place, QTextLine::CursorOnCharacter));
    const qsizetype end = words.toNextBoundary();
    if (end < 0) return {offsets_.back(), offsets_.back()};
    const qsizetype start = words.toPreviousBoundary();
    return {offsets_[static_cast<std::size_t>(start)], offsets_[static_cast<std::size_t>(end)]};
}

int ChunkLayout::positionAt(const QPointF& place, QTextLine::CursorPosition how) const {
    QTextLine line = layout_.lineAt(0);
    for (int i = 1; i < layout_.lineCount() && layout_.lineAt(i).y() <= place.y(); ++i)
        line = layout_.lineAt(i);
    return line.xToCursor(place.x(), how);
}

int ChunkLayout::positionOf(std::size_t offset) const {
    const auto found = std::lower_bound(offsets_.begin(), offsets_.end(), offset);
    const auto last = static_cast<std::ptrdiff_t>(offsets_.size()) - 1;
    return static_cast<int>(std::min(found - offsets_.begin(), last));
}

}  // namespace velmora
