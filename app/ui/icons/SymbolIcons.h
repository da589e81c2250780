#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>
#include <span>
#include <string_view>

namespace velmora {

/// One symbol image: a name the program knows, how icon themes call it, and a drawing of our own.
struct SymbolDrawing {
    std::string_view symbol;
    std::string_view themeNames;  ///< separated by blanks, the best one first; symbolic (one-coloured) icons only
    std::string_view drawing;  ///< SVG elements on a 24 × 24 grid less a rim of 2, stroked unless they say otherwise
};

/// Every symbol the program shows.
std::span<const SymbolDrawing> symbolDrawings();

/// Symbol images in one colour: from the user's icon theme where it has them, drawn otherwise.
///
/// Runs on: the main thread.
namespace SymbolIcons {

/// The symbol `size` logical pixels wide and high. A name that is not known gives a neutral picture, never an empty
/// one.
QPixmap pixmap(const QString& symbol, int size, qreal devicePixelRatio, const QColor& colour);

}  // namespace SymbolIcons

}  // namespace velmora
