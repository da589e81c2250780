#pragma once

#include <QMargins>
#include <QPainter>

namespace velmora {

/// The soft shadow around a rounded window or popover.
struct Shadow {
    int radius;  ///< of the corners of what casts it
    int blur;    ///< how far it reaches
    int drop;    ///< how much lower than the caster it lies

    [[nodiscard]] QMargins margins() const { return {blur, blur - drop, blur, blur + drop}; }

    /// Paints the shadow that something filling `caster` casts. The blurred picture is made once and stretched.
    void draw(QPainter& painter, const QRect& caster) const;
};

}  // namespace velmora
