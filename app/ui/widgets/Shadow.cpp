#include "app/ui/widgets/Shadow.h"

#include <QPixmapCache>
#include <algorithm>
#include <array>
#include <cmath>

namespace velmora {
namespace {

constexpr double strength = 0.30;

/// The share of a Gaussian-like edge: 0 far outside, 1 far inside.
double edge(double distanceInside, double blur) {
    const double t = std::clamp(distanceInside / blur * 0.5 + 0.5, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// The distance of a point from the edge of a rounded square centred at the origin; positive inside.
double inside(double x, double y, double half, double radius) {
    const double dx = std::max(std::abs(x) - (half - radius), 0.0);
    const double dy = std::max(std::abs(y) - (half - radius), 0.0);
    return radius - std::hypot(dx, dy);
}

/// Blurring rounds the corners further.
double blurredRadius(const Shadow& shadow) {
    return shadow.radius + shadow.blur * 0.4;
}

QPixmap patch(const Shadow& shadow, int corner, qreal devicePixelRatio) {
    const int side = static_cast<int>(std::lround((2 * corner + 2) * devicePixelRatio));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    const double centre = side / 2.0;
    const double half = (corner + 1 - shadow.blur) * devicePixelRatio;
    const double radius = std::min(half, blurredRadius(shadow) * devicePixelRatio);
    for (int y = 0; y < side; ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < side; ++x) {
            const double distance = inside(x + 0.5 - centre, y + 0.5 - centre, half, radius);
            const double share = edge(distance, shadow.blur * devicePixelRatio);
            line[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(255 * strength * share * share)));
        }
    }
    image.setDevicePixelRatio(devicePixelRatio);
    return QPixmap::fromImage(image);
}

}  // namespace

void Shadow::draw(QPainter& painter, const QRect& caster) const {
    const qreal ratio = painter.device()->devicePixelRatioF();
    const int corner = blur + static_cast<int>(std::ceil(blurredRadius(*this)));
    const QString key = QStringLiteral("velmora-shadow-%1-%2-%3").arg(radius).arg(blur).arg(ratio);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = patch(*this, corner, ratio);
        QPixmapCache::insert(key, pixmap);
    }
    const QRect target = caster.adjusted(-blur, -blur, blur, blur).translated(0, drop);
    // The corners keep their size, the edges are stretched; the middle is hidden by what casts the shadow.
    const int size = 2 * corner + 2;
    const std::array<int, 4> from{0, corner, corner + 2, size};
    const std::array<int, 4> x{target.left(), target.left() + corner, target.right() + 1 - corner, target.right() + 1};
    const std::array<int, 4> y{target.top(), target.top() + corner, target.bottom() + 1 - corner, target.bottom() + 1};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            if (row == 1 && column == 1) continue;
            painter.drawPixmap(QRectF(x[column], y[row], x[column + 1] - x[column], y[row + 1] - y[row]), pixmap,
                               QRectF(from[column] * ratio, from[row] * ratio,
                                      (from[column + 1] - from[column]) * ratio, (from[row + 1] - from[row]) * ratio));
        }
    }
}

}  // namespace velmora
