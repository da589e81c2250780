#include "app/ui/icons/ResultIcons.h"

#include "app/ui/icons/IconImage.h"
#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/Theme.h"

#include <QIcon>
#include <QPainter>
#include <algorithm>
#include <chrono>

namespace velmora {
namespace {

constexpr int cachedIcons = 400;
constexpr std::size_t preloadedIcons = 300;

// A list of new rows is painted once more when the last of their icons is there, not at each of them. One that takes
// long does not hold back the others for more than two frames.
constexpr std::chrono::milliseconds longestSilence{33};

QString keyOf(const std::string& path, qreal devicePixelRatio) {
    return QString::number(devicePixelRatio) + u'|' + QString::fromStdString(path);
}

/// A frame of the size of a result's icon with `content` in its middle.
QPixmap framed(const QPixmap& content, qreal devicePixelRatio) {
    QPixmap frame((QSizeF(Theme::iconFrame, Theme::iconFrame) * devicePixelRatio).toSize());
    frame.setDevicePixelRatio(devicePixelRatio);
    frame.fill(Qt::transparent);
    QPainter painter(&frame);
    const QSizeF size = content.deviceIndependentSize();
    painter.drawPixmap(QPointF((Theme::iconFrame - size.width()) / 2, (Theme::iconFrame - size.height()) / 2), content);
    return frame;
}

QPixmap fromTheme(const std::vector<std::string>& names, qreal devicePixelRatio) {
    for (const std::string& name : names) {
        const QString themeName = QString::fromStdString(name);
        const QIcon icon = QIcon::fromTheme(themeName);
        if (icon.isNull() || icon.name() != themeName) continue;
        const QPixmap pixmap = icon.pixmap(QSize(Theme::iconFrame, Theme::iconFrame), devicePixelRatio);
        if (!pixmap.isNull()) return pixmap;
    }
    return {};
}

}  // namespace

ResultIcons::ResultIcons(MainExecutor main, const Executor& pool, std::shared_ptr<const FileIcons> fileIcons)
    : main_(std::move(main)), reader_(pool), fileIcons_(std::move(fileIcons)), cache_(cachedIcons) {
    announcement_.setSingleShot(true);
    announcement_.setInterval(longestSilence);
    announcement_.callOnTimeout([this] { onLoaded(); });
}

QPixmap ResultIcons::pixmap(const CommandIcon& icon, qreal devicePixelRatio, const QColor& symbolColour) {
    if (icon.kind == CommandIcon::Kind::symbol)
        return symbol(QString::fromStdString(icon.value), devicePixelRatio, symbolColour);
    if (!fileIcons_) return symbol(QStringLiteral("doc"), devicePixelRatio, symbolColour);
    const QString key = keyOf(icon.value, devicePixelRatio);
    if (const QPixmap* const cached = cache_.object(key)) {
        return cached->isNull() ? symbol(QStringLiteral("app"), devicePixelRatio, symbolColour) : *cached;
    }
    if (!loading_.contains(key)) {
        loading_.insert(key);
        spawn(main_, [weak = weak_from_this(), path = icon.value, devicePixelRatio] {
            return load(weak, path, devicePixelRatio);
        });
    }
    return {};
}

void ResultIcons::preload(std::vector<std::string> paths, qreal devicePixelRatio) {
    if (!fileIcons_ || !preloading_.done()) return;
    paths.resize(std::min(paths.size(), preloadedIcons));
    preloading_ = spawn(main_, [weak = weak_from_this(), paths = std::move(paths), devicePixelRatio]() -> Task<> {
        for (const std::string& path : paths) {
            const auto self = weak.lock();
            if (!self) co_return;
            if (self->cache_.contains(keyOf(path, devicePixelRatio))) continue;
            Task<> loading = load(weak, path, devicePixelRatio);
            co_await std::move(loading);
        }
    });
}

QPixmap ResultIcons::symbol(const QString& name, qreal devicePixelRatio, const QColor& colour) {
    const QString key = QStringLiteral("%1|%2|%3").arg(devicePixelRatio).arg(colour.rgba()).arg(name.left(80));
    if (const QPixmap* const cached = cache_.object(key)) return *cached;
    const int size = Theme::iconFrame - 2 * Theme::symbolPadding;
    const QPixmap pixmap = framed(SymbolIcons::pixmap(name, size, devicePixelRatio, colour), devicePixelRatio);
    cache_.insert(key, new QPixmap(pixmap));
    return pixmap;
}

Task<> ResultIcons::load(std::weak_ptr<ResultIcons> weak, std::string path, qreal devicePixelRatio) {
    const auto self = weak.lock();
    if (!self) co_return;
    FileIcon icon;
    QImage image;
    const int size = qRound(Theme::iconFrame * devicePixelRatio);
    const auto read = [&] {
        icon = self->fileIcons_->find(path);
        if (!icon.image.empty()) image = IconImage::decode(icon.image, size);
    };
    try {
        co_await self->reader_.run(read);
    } catch (const std::exception&) {
        icon = {};  // a file without an icon of its own
    }
    self->keep(path, devicePixelRatio, icon, image);
}

void ResultIcons::keep(const std::string& path, qreal devicePixelRatio, const FileIcon& icon, const QImage& image) {
    QPixmap content = QPixmap::fromImage(image);
    content.setDevicePixelRatio(devicePixelRatio);
    if (content.isNull()) content = fromTheme(icon.themeNames, devicePixelRatio);
    const QString key = keyOf(path, devicePixelRatio);
    const bool isAwaited = loading_.remove(key);
    cache_.insert(key, new QPixmap(content.isNull() ? content : framed(content, devicePixelRatio)));
    if (!isAwaited) return;
    if (loading_.isEmpty()) {
        announcement_.stop();
        onLoaded();
    } else if (!announcement_.isActive()) {
        announcement_.start();
    }
}

}  // namespace velmora
