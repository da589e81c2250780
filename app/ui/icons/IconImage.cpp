#include "app/ui/icons/IconImage.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>
#include <QXmlStreamReader>
#include <algorithm>

namespace velmora {
namespace {

constexpr qint64 maximumDrawingBytes = 1 << 20;
constexpr int maximumSide = 4096;
constexpr int maximumDepth = 64;
constexpr int maximumElements = 20'000;
constexpr int maximumReferences = 16;  // references to references multiply

/// Whether drawing it takes memory and time in proportion to its size: a renderer follows nesting by recursion, follows
/// references to references, and loads the files that a drawing names.
bool isHarmlessDrawing(const QByteArray& data) {
    if (data.size() > maximumDrawingBytes) return false;
    QXmlStreamReader xml(data);
    xml.setEntityExpansionLimit(0);
    int depth = 0;
    int elements = 0;
    int references = 0;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
            case QXmlStreamReader::StartElement:
                if (++depth > maximumDepth || ++elements > maximumElements) return false;
                if (xml.name() == u"use" && ++references > maximumReferences) return false;
                if (xml.name() == u"image" || xml.name().startsWith(u"animate")) return false;
                break;
            case QXmlStreamReader::EndElement:
                --depth;
                break;
            default:
                break;
        }
    }
    return !xml.hasError();
}

QImage drawing(const QByteArray& data, int size) {
    if (!isHarmlessDrawing(data)) return {};
    QSvgRenderer renderer(data);
    if (!renderer.isValid()) return {};
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

QImage picture(QByteArray& data, int size) {
    QBuffer buffer(&data);
    if (!buffer.open(QIODevice::ReadOnly)) return {};
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    static const QList<QByteArray> formats{"png", "jpeg", "jpg", "webp", "gif", "bmp", "ico", "xpm"};
    if (!formats.contains(reader.format())) return {};
    const QSize full = reader.size();
    if (full.isEmpty() || full.width() > maximumSide || full.height() > maximumSide) return {};
    const QSize fitted = full.scaled(size, size, Qt::KeepAspectRatio).expandedTo({1, 1});
    return reader.read().scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

}  // namespace

QImage IconImage::decode(const std::string& contents, int size) {
    QByteArray data = QByteArray::fromRawData(contents.data(), static_cast<qsizetype>(contents.size()));
    const bool isMarkup = data.left(1024).trimmed().startsWith('<') || data.startsWith("\xef\xbb\xbf<");
    return isMarkup ? drawing(data, size) : picture(data, size);
}

}  // namespace velmora
