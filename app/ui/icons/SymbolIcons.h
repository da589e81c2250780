#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>
#include <span>
#include <string_view>

namespace velmora {

/// One symbol image: a name the program knows, and what it looks like.
struct SymbolDrawing {
    std::string_view symbol;
    std::string_view drawing;  ///< SVG elements on a 24 × 24 grid less a rim of 2, stroked unless they say otherwise
};

/// Every symbol the program shows.
std::span<const SymbolDrawing> symbolDrawings();

/// Symbol images in one colour, drawn by the program itself: they are there at once and match each other.
///
/// Runs on: the main thread.
namespace SymbolIcons {

/// The symbol `size` logical pixels wide and high. A name that is not known gives a neutral picture, never an empty
/// one.
QPixmap pixmap(const QString& symbol, int size, qreal devicePixelRatio, const QColor& colour);

}  // namespace SymbolIcons

}  // namespace velmora
