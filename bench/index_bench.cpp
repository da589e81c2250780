// The filename index at work on a real tree: full scans, following the disk, searching meanwhile, next to plocate's
// updatedb on the same tree. Prints one line a metric, like files_store_bench.
//
//   index_bench [prefix of the names to measure] [real entries, 300000] [names indexed besides, 1000000]
//   index_bench --tree FOLDER ENTRIES      only makes such a tree

#include "app/services/files/FileIndexService.h"
#include "app/services/files/IndexedEntries.h"
#include "bench/FileTree.h"
#include "bench/Measure.h"
#include "bench/SyntheticFiles.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "platform/Runtime.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/DiskFileScanner.h"
#include "platform/linux/watch/FSEventsWatcher.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velmora::bench {
namespace {

using namespace std::chrono_literals;

constexpr int scanRounds = 3;
constexpr int liveRounds = 9;
constexpr std::size_t batchSize = 5000;

/// The service over one real folder, in a database of its own.
class Index {
  public:
    Index(Loop& loop, std::string root, const std::string& file) : loop_(loop), root_(std::move(root)) {
        database_ = loop_.run([&] { return Database::open(file, pool_.executor()); });
        repository_.emplace(database_, root_, clock_);
        loop_.write([&] { return repository_->addRoot(root_); });
    }
    ~Index() {
        if (service_) stop();
        loop_.write([&] { return database_->close(); });
    }
    Index(const Index&) = delete;
    Index& operator=(const Index&) = delete;

    /// Makes the service and starts it.
    void start() {
        auto watcher = std::make_shared<FSEventsWatcher>(
            loop_.executor(), std::make_shared<IndexedEntries>(*repository_), FSEventsWatcher::Options{});
        watcher_ = watcher;
        service_ =
            std::make_shared<FileIndexService>(loop_.executor(), pool_.executor(), clock_, *repository_,
                                               FileIndexService::Disk{std::make_shared<DiskFileScanner>(root_), watcher,
                                                                      std::make_shared<DiskFileAttributes>()},
                                               FileIndexService::Folders{root_, root_ + "/.none"});
        loop_.write([&] { return service_->start(); });
    }

    void stop() {
        loop_.write([&] { return service_->stop(); });
        service_.reset();
    }

    void wait(std::chrono::milliseconds time) {
        loop_.write([&] { return clock_.sleep(time); });
    }

    void untilScanned() {
        while (service_->isScanning())
            wait(2ms);
    }

    void untilWatching() {
        while (!watcher_->isComplete())
            wait(5ms);
    }

    [[nodiscard]] double search(const std::string& text) {
        return milliseconds([&] { found_ = loop_.run([&] { return service_->search(text, std::nullopt); }); });
    }

    [[nodiscard]] bool finds(const std::string& text) {
        static_cast<void>(search(text));
        return !found_.empty();
    }

    [[nodiscard]] FileIndexService& service() { return *service_; }
    [[nodiscard]] const FileIndexRepository& repository() const { return *repository_; }

    [[nodiscard]] std::set<std::string> paths() {
        const auto rows = loop_.run([&] { return database_->rows("SELECT path FROM file_index"); });
        std::set<std::string> paths;
        for (const Row& row : rows)
            paths.emplace(row.text("path").value_or(""));
        return paths;
    }

  private:
    Loop& loop_;
    WorkerPool pool_{3};
    SystemClock clock_;
    std::string root_;
    std::shared_ptr<Database> database_;
    std::optional<FileIndexRepository> repository_;
    std::shared_ptr<FSEventsWatcher> watcher_;
    std::shared_ptr<FileIndexService> service_;
    std::vector<FileRecord> found_;
};

double updatedb(const std::string& root, const std::string& output) {
    const auto time = runQuietly({"/usr/sbin/updatedb.plocate", "-U", root, "-o", output, "-l", "no", "--prunepaths",
                                  "", "--prunefs", "", "--prunenames", "", "--prune-bind-mounts", "no"});
    return time.value_or(0);
}

/// Full scans into an empty index, and again over an unchanged tree.
void measureScans(Loop& loop, const std::string& root, const std::string& folder) {
    std::vector<double> first;
    std::vector<double> again;
    std::vector<double> theirs;
    for (int round = 0; round < scanRounds; ++round) {
        theirs.push_back(updatedb(root, folder + "/updatedb"));
        Index index(loop, root, folder + "/scan" + std::to_string(round) + ".sqlite");
        first.push_back(milliseconds([&] {
            index.start();
            index.untilScanned();
        }));
        again.push_back(milliseconds([&] {
            index.service().rebuild();
            index.untilScanned();
        }));
    }
    report("files.scan", quantile(first, 0.5), "ms", quantile(theirs, 0.5));
    report("files.rescan", quantile(again, 0.5), "ms", quantile(theirs, 0.5));
}

/// From a file's making to its being found.
void measureLive(Loop& loop, const std::string& root, const std::string& file) {
    Index index(loop, root, file);
    index.start();
    index.untilScanned();
    index.untilWatching();
    index.wait(2s);
    std::vector<double> times;
    for (int round = 0; round < liveRounds; ++round) {
        const std::string name = "justmade" + std::to_string(round) + "x";
        times.push_back(milliseconds([&] {
            std::ofstream(root + "/project-0/library" + std::to_string(round) + "/" + name).put('x');
            while (!index.finds(name))
                index.wait(10ms);
        }));
    }
    report("files.live", quantile(times, 0.5) / 1000, "s");
    report("files.live.max", quantile(times, 1) / 1000, "s");
}

/// A start after a thousand changes that nobody watched, until all of them are in the index.
void measureReplay(Loop& loop, const std::string& root, std::size_t entries, const std::string& file) {
    Index index(loop, root, file);
    double scan = 0;
    scan = milliseconds([&] {
        index.start();
        index.untilScanned();
    });
    index.untilWatching();
    index.wait(3s);  // clear of the slack that a bookmark is given
    index.stop();
    const std::set<std::string> before = index.paths();
    const std::set<std::string> changed = changeThousand(root, entries);
    const auto isIndexed = [&](const std::set<std::string>& paths) {
        return std::all_of(changed.begin(), changed.end(), [&](const std::string& path) {
            return paths.contains(path) == (access(path.c_str(), F_OK) == 0);
        });
    };
    double replay = 0;
    replay = milliseconds([&] {
        index.start();
        index.untilWatching();
    });
    double looking = 0;
    const double start = now();
    while (!isIndexed(index.paths())) {
        index.wait(50ms);
        if (now() - start > 60) throw std::runtime_error("changes were not found");
    }
    looking = (now() - start) * 1000;
    report("files.replay", replay + looking, "ms", scan);
}

/// Adds names that no disk has, so that the index is as large as it may get.
void fill(Loop& loop, const Index& index, std::size_t names) {
    SyntheticFiles files;
    for (std::size_t written = 0; written < names; written += batchSize) {
        const auto batch = files.next(batchSize);
        loop.write([&] { return index.repository().upsert(batch); });
    }
}

/// Asks one question after the other while `isGoingOn`, with pauses as between keystrokes.
template <class Condition>
std::vector<double> searchWhile(Index& index, const std::string& text, Condition isGoingOn) {
    std::vector<double> times;
    while (isGoingOn(times.size())) {
        times.push_back(index.search(text));
        index.wait(15ms);
    }
    return times;
}

/// Keystrokes while a full scan runs and while changes are applied, in a large index.
void measureSearches(Loop& loop, const std::string& root, const std::string& file, std::size_t names) {
    Index index(loop, root, file);
    index.start();
    index.untilScanned();
    fill(loop, index, names);
    constexpr std::pair<const char*, const char*> terms[] = {{"rare", "juxum"}, {"common", "lib"}};
    std::vector<double> waits;
    for (const auto& [name, text] : terms) {
        const auto idle = searchWhile(index, text, [](std::size_t asked) { return asked < 60; });
        std::vector<double> busy;
        for (int round = 0; round < scanRounds; ++round) {
            index.service().rebuild();
            const auto some = searchWhile(index, text, [&](std::size_t) { return index.service().isScanning(); });
            busy.insert(busy.end(), some.begin(), some.end());
        }
        report(std::string("files.scanning.p95.") + name, quantile(busy, 0.95), "ms", quantile(idle, 0.95));
        if (std::string_view(name) == "rare") waits = busy;
    }
    // A flush of many changes: a project with thousands of entries moves away and another takes its name.
    for (int round = 0; round < scanRounds; ++round) {
        const std::string one = root + "/project-" + std::to_string(round);
        if (std::rename(one.c_str(), (one + "-moved").c_str()) != 0) throw std::runtime_error("rename " + one);
        const double until = now() + 6;
        const auto some = searchWhile(index, "juxum", [&](std::size_t) { return now() < until; });
        waits.insert(waits.end(), some.begin(), some.end());
    }
    report("files.stall", quantile(waits, 1), "ms");
}

void measure(const std::string& prefix, std::size_t entries, std::size_t names) {
    const auto wanted = [&](const std::string& name) { return name.starts_with(prefix) || prefix.starts_with(name); };
    const bool scans = wanted("files.scan") || wanted("files.rescan");
    const bool searches = wanted("files.scanning") || wanted("files.stall");
    if (!scans && !searches && !wanted("files.live") && !wanted("files.replay")) return;
    Loop loop;
    setMainThread();
    const test::TemporaryFolder folder;
    const std::string root = folder.path() + "/tree";
    makeTree(root, entries);
    if (scans && !prefix.starts_with("files.scanning")) measureScans(loop, root, folder.path());
    if (wanted("files.live")) measureLive(loop, root, folder.path() + "/live.sqlite");
    if (wanted("files.replay")) measureReplay(loop, root, entries, folder.path() + "/replay.sqlite");
    if (searches) measureSearches(loop, root, folder.path() + "/search.sqlite", names);
}

}  // namespace
}  // namespace velmora::bench

int main(int count, char** arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    words.resize(3);
    if (words[0] == "--tree") {
        velmora::bench::makeTree(words[1], std::stoul(words[2]));
        return 0;
    }
    const std::size_t entries = words[1].empty() ? 300'000 : std::stoul(words[1]);
    const std::size_t names = words[2].empty() ? 1'000'000 : std::stoul(words[2]);
    try {
        velmora::bench::measure(words[0], entries, names);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "index_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
