#include "app/ui/icons/SymbolIcons.h"

#include <QCache>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>

namespace velmora {
namespace {

constexpr int cachedPixmaps = 160;
constexpr std::string_view unknownSymbol = "app";

const SymbolDrawing& drawingOf(std::string_view symbol) {
    const auto all = symbolDrawings();
    const auto named = [all](std::string_view name) {
        return std::find_if(all.begin(), all.end(), [name](const SymbolDrawing& one) { return one.symbol == name; });
    };
    const auto found = named(symbol);
    return found != all.end() ? *found : *named(unknownSymbol);
}

QPixmap drawn(const SymbolDrawing& symbol, int size, qreal devicePixelRatio) {
    const QByteArray svg =
        R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="2 2 20 20"><g fill="none" stroke="#000" stroke-width="1.9")"
        R"( stroke-linecap="round" stroke-linejoin="round">)" +
        QByteArray(symbol.drawing.data(), static_cast<qsizetype>(symbol.drawing.size())) + "</g></svg>";
    QPixmap pixmap((QSizeF(size, size) * devicePixelRatio).toSize());
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(svg).render(&painter, QRectF(0, 0, size, size));
    return pixmap;
}

void colourise(QPixmap& pixmap, const QColor& colour) {
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(QPointF(), pixmap.deviceIndependentSize()), colour);
}

}  // namespace

QPixmap SymbolIcons::pixmap(const QString& symbol, int size, qreal devicePixelRatio, const QColor& colour) {
    static QCache<QString, QPixmap> cache(cachedPixmaps);
    const QString key = QStringLiteral("%1|%2|%3|%4")
                            .arg(symbol.left(80), colour.name(QColor::HexArgb))
                            .arg(size)
                            .arg(devicePixelRatio);
    if (const QPixmap* const cached = cache.object(key)) return *cached;
    QPixmap pixmap = drawn(drawingOf(symbol.toStdString()), size, devicePixelRatio);
    colourise(pixmap, colour);
    cache.insert(key, new QPixmap(pixmap));
    return pixmap;
}

}  // namespace velmora
