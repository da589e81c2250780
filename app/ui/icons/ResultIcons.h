#pragma once

#include "app/ui/icons/IconDecoder.h"
#include "core/async/Async.h"
#include "core/commands/Commands.h"
#include "platform/FileIcons.h"

#include <QCache>
#include <QPixmap>
#include <QSet>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// The pictures of results, 32 × 32 logical pixels: symbols with 5 pixels of padding, icons of files without.
///
/// The icons of files are found on the pool and decoded in another process, one after another, and kept while they are
/// among the most recently used; until one is there, an empty picture stands for it.
///
/// Runs on: the main thread.
class ResultIcons : public std::enable_shared_from_this<ResultIcons> {
  public:
    /// Without `fileIcons`, files have the neutral icon.
    ResultIcons(MainExecutor main, const Executor& pool, ChildProcesses& processes,
                std::shared_ptr<const FileIcons> fileIcons);

    /// The picture, or a null one while it is being read.
    [[nodiscard]] QPixmap pixmap(const CommandIcon& icon, qreal devicePixelRatio, const QColor& symbolColour);

    /// Reads the icons of files that are likely to be asked for, as many as are worth keeping and after all that have
    /// been, so that new rows have theirs at once.
    void preload(const std::vector<std::string>& paths, qreal devicePixelRatio);

    /// Nothing is on screen: reads nothing more, and lets go of the process.
    void rest();

    /// Called when pictures that were asked for have become available: once for those that come soon after each other.
    std::function<void()> onLoaded = [] {};

  private:
    struct File {
        QString key;
        std::string path;
        int size;
        qreal devicePixelRatio;
    };

    [[nodiscard]] QPixmap symbol(const QString& name, qreal devicePixelRatio, const QColor& colour);
    [[nodiscard]] static File file(const std::string& path, qreal devicePixelRatio);
    void read();
    [[nodiscard]] static Task<> readAll(std::weak_ptr<ResultIcons> weak);
    [[nodiscard]] std::optional<File> next();
    [[nodiscard]] Task<QImage> load(const File& file);
    void keep(const File& file, const QImage& image);

    MainExecutor main_;
    Actor finder_;
    IconDecoder decoder_;
    std::shared_ptr<const FileIcons> fileIcons_;
    QCache<QString, QPixmap> cache_;
    QSet<QString> awaited_;
    std::deque<File> awaitedFiles_;
    std::deque<File> likelyFiles_;
    bool reading_ = false;
    bool resting_ = false;
    QTimer announcement_;
};

}  // namespace velmora
