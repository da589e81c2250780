#include "toolkit/TextChunks.h"

#include <QString>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace velmora {
namespace {

/// How far back a part of a line looks for a blank to end with.
constexpr std::size_t blankDistance = 80;

bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

QString decoded(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

// A long line is cut near every multiple of `size` that has a full `size` of that line before it. So a cut depends on
// nothing but the text just before it, and is the same from wherever it is looked for.

std::size_t TextChunks::startOf(std::size_t offset) const {
    if (text_.empty()) return 0;
    offset = std::min(offset, text_.size() - 1);
    const std::size_t far = offset > 2 * size ? offset - 2 * size : 0;
    const std::size_t feed = text_.substr(far, offset - far).rfind('\n');
    std::size_t start = far;
    if (feed != std::string_view::npos) {
        start = far + feed + 1;
    } else if (far > 0) {
        start = cutBefore(offset / size * size);
    }
    for (std::size_t next = endOf(start); next <= offset; next = endOf(next))
        start = next;
    return start;
}

std::size_t TextChunks::endOf(std::size_t start) const {
    const std::size_t farthest = std::min(text_.size(), start + 2 * size + blankDistance);
    const std::size_t feed = text_.substr(start, farthest - start).find('\n');
    const std::size_t end = feed == std::string_view::npos ? farthest : start + feed + 1;
    for (std::size_t position = (start / size + 1) * size; position < end; position += size) {
        if (hasLineFeed(position - size, position)) continue;
        const std::size_t cut = cutBefore(position);
        if (cut > start) return cut;
    }
    return end;
}

bool TextChunks::hasLineFeed(std::size_t from, std::size_t to) const {
    return text_.substr(from, to - from).find('\n') != std::string_view::npos;
}

std::size_t TextChunks::cutBefore(std::size_t position) const {
    const std::string_view before = text_.substr(position - blankDistance, blankDistance);
    const std::size_t blank = before.rfind(' ');
    if (blank != std::string_view::npos) return position - blankDistance + blank + 1;
    // What belongs to one character stays together, unless there is no end to it.
    std::size_t start = position - blankDistance;
    while (start < position && continues(text_[start]))
        ++start;
    std::size_t end = position;
    while (end > start && continues(text_[end]))
        --end;
    const QString around = decoded(text_.substr(start, position + blankDistance - start));
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, around);
    boundaries.setPosition(decoded(text_.substr(start, end - start)).size());
    if (boundaries.isAtBoundary()) return end;
    const qsizetype earlier = boundaries.toPreviousBoundary();
    if (earlier <= 0) return end;
    return std::min(end, start + static_cast<std::size_t>(QStringView(around).left(earlier).toUtf8().size()));
}

}  // namespace velmora
