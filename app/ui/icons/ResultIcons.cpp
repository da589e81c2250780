#include "app/ui/icons/ResultIcons.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/Theme.h"

#include <QIcon>
#include <QPainter>
#include <chrono>
#include <ranges>
#include <utility>

namespace velmora {
namespace {

constexpr int cachedIcons = 400;
constexpr std::size_t preloadedIcons = 300;

// A list of new rows is painted once more when the last of their icons is there, not at each of them. One that takes
// long does not hold back the others for more than two frames.
constexpr std::chrono::milliseconds longestSilence{33};

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

/// The icon themes to look in. They cover each other's gaps, and the bare fallback of all of them holds hardly more
/// than applications.
std::vector<std::string> iconThemes() {
    std::vector<std::string> names;
    for (const QString& name : {QIcon::themeName(), QIcon::fallbackThemeName(), QStringLiteral("Adwaita")})
        names.push_back(name.toStdString());
    return names;
}

}  // namespace

ResultIcons::ResultIcons(MainExecutor main, const Executor& pool, ChildProcesses& processes,
                         std::shared_ptr<const FileIcons> fileIcons)
    : main_(std::move(main)),
      finder_(pool),
      decoder_(processes),
      fileIcons_(std::move(fileIcons)),
      cache_(cachedIcons) {
    announcement_.setSingleShot(true);
    announcement_.setInterval(longestSilence);
    announcement_.callOnTimeout([this] { onLoaded(); });
}

ResultIcons::File ResultIcons::file(const std::string& path, qreal devicePixelRatio) {
    QString key = QString::number(devicePixelRatio) + u'|' + QString::fromStdString(path);
    return {std::move(key), path, qRound(Theme::iconFrame * devicePixelRatio), devicePixelRatio};
}

QPixmap ResultIcons::pixmap(const CommandIcon& icon, qreal devicePixelRatio, const QColor& symbolColour) {
    if (icon.kind == CommandIcon::Kind::symbol)
        return symbol(QString::fromStdString(icon.value), devicePixelRatio, symbolColour);
    if (!fileIcons_) return symbol(QStringLiteral("doc"), devicePixelRatio, symbolColour);
    File wanted = file(icon.value, devicePixelRatio);
    if (const QPixmap* const cached = cache_.object(wanted.key))
        return cached->isNull() ? symbol(QStringLiteral("app"), devicePixelRatio, symbolColour) : *cached;
    if (!awaited_.contains(wanted.key)) {
        awaited_.insert(wanted.key);
        awaitedFiles_.push_back(std::move(wanted));
        read();
    }
    return {};
}

void ResultIcons::preload(const std::vector<std::string>& paths, qreal devicePixelRatio) {
    if (!fileIcons_) return;
    likelyFiles_.clear();
    for (const std::string& path : paths | std::views::take(preloadedIcons))
        likelyFiles_.push_back(file(path, devicePixelRatio));
    read();
}

void ResultIcons::rest() {
    awaited_.clear();
    awaitedFiles_.clear();
    likelyFiles_.clear();
    resting_ = true;
    if (!reading_) decoder_.rest();
}

QPixmap ResultIcons::symbol(const QString& name, qreal devicePixelRatio, const QColor& colour) {
    const QString key = QStringLiteral("%1|%2|%3").arg(devicePixelRatio).arg(colour.rgba()).arg(name.left(80));
    if (const QPixmap* const cached = cache_.object(key)) return *cached;
    const int size = Theme::iconFrame - 2 * Theme::symbolPadding;
    const QPixmap pixmap = framed(SymbolIcons::pixmap(name, size, devicePixelRatio, colour), devicePixelRatio);
    cache_.insert(key, new QPixmap(pixmap));
    return pixmap;
}

void ResultIcons::read() {
    resting_ = false;
    if (std::exchange(reading_, true)) return;
    spawn(main_, [weak = weak_from_this()] { return readAll(weak); });
}

Task<> ResultIcons::readAll(std::weak_ptr<ResultIcons> weak) {
    while (const auto self = weak.lock()) {
        const std::optional<File> wanted = self->next();
        if (!wanted) {
            self->reading_ = false;
            if (self->resting_) self->decoder_.rest();
            co_return;
        }
        Task<QImage> loading = self->load(*wanted);
        const QImage image = co_await std::move(loading);
        self->keep(*wanted, image);
    }
}

/// What is not there yet and is to be read next.
std::optional<ResultIcons::File> ResultIcons::next() {
    for (std::deque<File>* const queue : {&awaitedFiles_, &likelyFiles_}) {
        while (!queue->empty()) {
            File first = std::move(queue->front());
            queue->pop_front();
            if (!cache_.contains(first.key)) return first;
        }
    }
    return std::nullopt;
}

Task<QImage> ResultIcons::load(const File& file) {
    std::string contents;
    const auto find = [this, &contents, &file, themes = iconThemes()] {
        contents = fileIcons_->find(file.path, themes, file.size);
    };
    try {
        co_await finder_.run(find);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        contents.clear();  // a file without an icon of its own
    }
    if (contents.empty()) co_return QImage();
    Task<QImage> decoding = decoder_.decode(std::move(contents), file.size);
    co_return co_await std::move(decoding);
}

void ResultIcons::keep(const File& file, const QImage& image) {
    QPixmap content = QPixmap::fromImage(image);
    content.setDevicePixelRatio(file.devicePixelRatio);
    cache_.insert(file.key, new QPixmap(content.isNull() ? content : framed(content, file.devicePixelRatio)));
    if (!awaited_.remove(file.key)) return;
    if (awaited_.isEmpty()) {
        announcement_.stop();
        onLoaded();
    } else if (!announcement_.isActive()) {
        announcement_.start();
    }
}

}  // namespace velmora
