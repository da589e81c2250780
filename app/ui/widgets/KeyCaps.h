#pragma once

#include <QPainter>
#include <QString>

/// Key names drawn as small caps: one for each part of a text such as "⌘ K" that blanks separate.
namespace velmora::keyCaps {

/// The width of the caps in logical pixels.
int width(const QString& keys);

/// Draws them from `middleLeft` to the right, centred around it vertically.
void draw(QPainter& painter, const QPoint& middleLeft, const QString& keys);

}  // namespace velmora::keyCaps
