#pragma once

#include <QPalette>
#include <QTextLayout>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

/// A chunk of a text, broken into lines. Everything in it is drawn as plain text, and what would change the look of the
/// rest without being seen itself as U+FFFD.
///
/// Offsets are bytes from the beginning of the chunk, lengths logical pixels.
class ChunkLayout {
  public:
    ChunkLayout(std::string_view chunk, const QFont& font, int width);

    [[nodiscard]] double height() const { return height_; }

    /// Draws it with its top left corner at `corner`, what is from `selection.first` up to `selection.second` as
    /// selected.
    void draw(QPainter& painter, const QPointF& corner, const QPalette& colours,
              std::pair<std::size_t, std::size_t> selection) const;

    /// The offset nearest to `place` in the chunk.
    [[nodiscard]] std::size_t offsetAt(const QPointF& place) const;
    /// Where what is at `offset` is drawn.
    [[nodiscard]] QRectF placeOf(std::size_t offset) const;
    /// The beginning and the end of the word at `place`.
    [[nodiscard]] std::pair<std::size_t, std::size_t> wordAt(const QPointF& place) const;

  private:
    void decode(std::string_view chunk);
    [[nodiscard]] int positionAt(const QPointF& place, QTextLine::CursorPosition how) const;
    [[nodiscard]] int positionOf(std::size_t offset) const;

    QString text_;
    std::vector<std::size_t> offsets_;  // of each UTF-16 unit of the text, and of its end
    QTextLayout layout_;
    double height_ = 0;
};

}  // namespace velmora
