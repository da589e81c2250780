#pragma once

#include "core/async/Async.h"
#include "core/commands/Commands.h"
#include "platform/FileIcons.h"

#include <QCache>
#include <QPixmap>
#include <QSet>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// The pictures of results, 32 × 32 logical pixels: symbols with 5 pixels of padding, icons of files without.
///
/// The icons of files are found and read on the pool, one after another, and kept while they are among the most
/// recently used; until one is there, an empty picture stands for it.
///
/// Runs on: the main thread.
class ResultIcons : public std::enable_shared_from_this<ResultIcons> {
  public:
    /// Without `fileIcons`, files have the neutral icon.
    ResultIcons(MainExecutor main, const Executor& pool, std::shared_ptr<const FileIcons> fileIcons);

    /// The picture, or a null one while it is being read.
    [[nodiscard]] QPixmap pixmap(const CommandIcon& icon, qreal devicePixelRatio, const QColor& symbolColour);

    /// Reads the icons of files that are likely to be asked for, one at a time and as many as are worth keeping, so
    /// that new rows have theirs at once. Does nothing while it is at it.
    void preload(std::vector<std::string> paths, qreal devicePixelRatio);

    /// Called when pictures that were asked for have become available: once for those that come soon after each other.
    std::function<void()> onLoaded = [] {};

  private:
    [[nodiscard]] QPixmap symbol(const QString& name, qreal devicePixelRatio, const QColor& colour);
    [[nodiscard]] static Task<> load(std::weak_ptr<ResultIcons> weak, std::string path, qreal devicePixelRatio);
    void keep(const std::string& path, qreal devicePixelRatio, const FileIcon& icon, const QImage& image);

    MainExecutor main_;
    Actor reader_;
    std::shared_ptr<const FileIcons> fileIcons_;
    QCache<QString, QPixmap> cache_;
    QSet<QString> loading_;
    TaskHandle preloading_;
    QTimer announcement_;
};

}  // namespace velmora
