#include "core/files/FileNames.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/FolderWalk.h"
#include "platform/linux/watch/FSEventsWatcher.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/FileTree.h"
#include "tests/platform/linux/HungMount.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <map>
#include <random>

using namespace velmora;
using namespace velmora::test;
using namespace std::chrono_literals;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

/// What the index would hold, kept from the reports alone, by the rules of the service that drives the watcher: a path
/// that exists is written, one that does not is removed, with everything below it where it was a folder.
class ModelIndex final : public IndexReading {
  public:
    void scan(const std::string& root, const SkipRule& skipRule = {}) {
        FolderWalk walk(root, skipRule);
        for (;;) {
            const auto files = walk.next(5'000, [] { return false; });
            if (files.empty()) return;
            for (const IndexedFile& file : files)
                rows[file.path] = file;
        }
    }

    void apply(const std::vector<std::string>& paths) {
        std::vector<std::string> gone;
        for (const std::string& path : paths) {
            if (const auto now = attributes.attributes(path)) {
                rows[path] = {path, path.substr(path.rfind('/') + 1), now->isDirectory, now->size, now->modified};
            } else {
                gone.push_back(path);
            }
        }
        for (const std::string& path : gone) {
            const auto row = rows.find(path);
            if (row == rows.end()) continue;
            const bool wasFolder = row->second.isDirectory;
            rows.erase(row);
            if (!wasFolder) continue;
            const std::string below = path + '/';
            auto next = rows.lower_bound(below);
            while (next != rows.end() && next->first.starts_with(below))
                next = rows.erase(next);
        }
    }

    Task<std::vector<IndexedFile>> children(std::string folder) override { co_return childrenOf(folder); }
    Task<std::vector<IndexedFile>> below(std::string folder, std::string after, std::size_t limit) override {
        co_return rowsBelow(folder, after, limit);
    }

    [[nodiscard]] std::vector<IndexedFile> childrenOf(const std::string& folder) const {
        auto result = rowsBelow(folder, "", SIZE_MAX);
        std::erase_if(result,
                      [&](const auto& file) { return file.path.find('/', folder.size() + 1) != std::string::npos; });
        return result;
    }

    [[nodiscard]] std::vector<IndexedFile> rowsBelow(const std::string& folder, const std::string& after,
                                                     std::size_t limit) const {
        std::vector<IndexedFile> result;
        const std::string prefix = folder + '/';
        auto row = after.empty() ? rows.lower_bound(prefix) : rows.upper_bound(after);
        for (; row != rows.end() && row->first.starts_with(prefix) && result.size() < limit; ++row)
            result.push_back(row->second);
        return result;
    }

    std::map<std::string, IndexedFile> rows;

    const std::shared_ptr<RootMounts> mounts = std::make_shared<RootMounts>();

  private:
    DiskFileAttributes attributes{mounts};
};

/// Where it watches, and whether by fanotify or else by inotify.
using Setup = std::tuple<const char*, bool>;

class FSEventsWatcherTest : public testing::TestWithParam<Setup> {
  protected:
    FSEventsWatcherTest() : folder(std::get<0>(GetParam())), root(folder.path()) {
        options.tree.marks.fanotify = std::get<1>(GetParam());
        options.tree.marks.inotify = !options.tree.marks.fanotify;
        options.tree.sweepInterval = 50ms;
        options.tree.recheckDelay = 300ms;
        options.latency = 30ms;
        options.gathering = 5ms;
        options.rootMounts = index.mounts;
    }

    void start(const std::vector<std::string>& roots, std::uint64_t since = 0) {
        watcher.emplace(loop.executor(), std::shared_ptr<IndexReading>(&index, [](auto*) {}), options);
        watcher->start(roots, since, [this](const std::vector<std::string>& paths, std::uint64_t id) {
            EXPECT_GE(id, lastID);
            lastID = id;
            reported.insert(paths.begin(), paths.end());
            index.apply(paths);
        });
        eventually([&] { return watcher->isComplete(); });
    }

    /// The index as it should be, read afresh: paths, whether folders, sizes and whole seconds of times.
    std::map<std::string, std::string> disk() {
        ModelIndex fresh;
        if (fs::exists(root)) fresh.scan(root, options.tree.skipPrefixes);
        return state(fresh);
    }

    /// Times of folders change with every entry, between the look at them and this one as well: only files count.
    static std::map<std::string, std::string> state(const ModelIndex& model) {
        std::map<std::string, std::string> result;
        for (const auto& [path, file] : model.rows)
            result[path] = file.isDirectory ? "folder"
                                            : std::to_string(file.size) + ' ' +
                                                  std::to_string(static_cast<std::int64_t>(file.modified));
        return result;
    }

    /// Runs the loop until the condition holds, which may be slow to look at; fails the test after a minute.
    template <class Condition>
    void eventually(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the test waited in vain");
            const auto pause = std::chrono::steady_clock::now() + 20ms;
            loop.until([&] { return std::chrono::steady_clock::now() > pause; });
        }
    }

    void untilIndexEqualsDisk() {
        try {
            eventually([&] { return state(index) == disk(); });
        } catch (const std::exception&) {
            EXPECT_EQ(state(index), disk());
            throw;
        }
    }

    std::string at(const std::string& name) const { return root + "/" + name; }

    TestLoop loop;
    TemporaryFolder folder;
    const std::string root;
    FSEventsWatcher::Options options;
    ModelIndex index;
    std::set<std::string> reported;
    std::uint64_t lastID = 0;
    std::optional<FSEventsWatcher> watcher;
};

/// Whatever a test leaves mounted is gone before its folder is emptied.
struct DetachedMount {
    std::string path;
    ~DetachedMount() { umount2(path.c_str(), MNT_DETACH); }
};

/// Gives the past's time stamps an age that a bookmark of now is clear of: only real time does, none can set ctime.
void letTimePass() {
    std::this_thread::sleep_for(2'200ms);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Backends, FSEventsWatcherTest,
                         testing::Combine(testing::Values("/tmp", "/dev/shm"), testing::Bool()));

TEST_P(FSEventsWatcherTest, ReplaysWhatHappenedToOldFoldersWhileItWasOff) {
    for (const std::string name : {"one", "two", "kept"}) {
        fs::create_directories(at(name + "/sub"));
        makeFile(at(name + "/sub/in " + name));
    }
    index.scan(root);
    letTimePass();
    const auto bookmark = static_cast<std::uint64_t>(fileTimeNow().time_since_epoch().count());
    ASSERT_EQ(renameat2(AT_FDCWD, at("one").c_str(), AT_FDCWD, at("two").c_str(), RENAME_EXCHANGE), 0);
    makeFile(at("kept/sub/in kept"), "changed in place");
    makeFile(at("two/new"));  // so that its own times do not tell that it has been moved
    start({root}, bookmark);
    untilIndexEqualsDisk();
    EXPECT_FALSE(reported.contains(at("kept/sub"))) << "nothing in the listing of this folder changed";
}

/// Runs a `TreeWatch` by hand, so that a test decides when events are fetched.
class HandRun final : public WatchHost {
  public:
    bool isStopped() override { return false; }
    void betweenFolders() override {}
    void report(std::string path) override { reported.insert(std::move(path)); }
    std::optional<std::vector<IndexedFile>> indexedChildren(const std::string& folder) override {
        return index.childrenOf(folder);
    }
    std::optional<std::vector<IndexedFile>> indexedBelow(const std::string& folder, const std::string& after) override {
        return index.rowsBelow(folder, after, 2);
    }

    ModelIndex index;
    std::set<std::string> reported;
};

TEST_P(FSEventsWatcherTest, ADroppedQueueCostsALookAndNothingElse) {
    for (const char* name : {"flooded", "late", "untouched", "deleted"}) {
        fs::create_directories(at(name) + "/sub");
        makeFile(at(name) + "/sub/file");
    }
    HandRun host;
    host.index.scan(root);
    letTimePass();
    TreeWatch watch(host, {root}, options.tree);
    watch.begin(std::nullopt);
    const FileTime since = fileTimeNow();
    // More than the queue holds, and what comes after it is lost.
    for (int i = 0; i < 20'000; ++i)
        makeFile(at("flooded/") + std::to_string(i), "");
    fs::create_directories(at("late/a/b"));
    makeFile(at("late/sub/file"), "changed in place");
    fs::remove_all(at("deleted/sub"));
    fs::rename(at("late/sub"), at("late/moved"));
    watch.fetchEvents();
    watch.handleEvents(since);
    host.index.apply({host.reported.begin(), host.reported.end()});
    EXPECT_EQ(state(host.index), disk());
    for (const std::string& path : host.reported)
        EXPECT_FALSE(path.starts_with(at("untouched"))) << path;
    makeFile(at("late/a/b/file"));
    watch.fetchEvents();
    watch.handleEvents(since);
    EXPECT_TRUE(host.reported.contains(at("late/a/b/file"))) << "new folders are watched from now on";
}

TEST_P(FSEventsWatcherTest, SweepsWhatItMayNotWatch) {
    options.tree.marks.maximumMarks = 6;
    options.tree.sweepInterval = 300ms;  // none between what is reported before marks run out and after
    start({root});
    makeFile(at("marked"));
    untilIndexEqualsDisk();
    for (int i = 0; i < 10; ++i)
        fs::create_directories(at(std::to_string(i) + "/sub"));
    loop.until([&] { return watcher->sweptFolders() == 21 - 6; });
    for (int i = 0; i < 10; ++i)
        makeFile(at(std::to_string(i) + "/sub/new"));
    fs::create_directories(at("1/sub/x/y/z"));
    untilIndexEqualsDisk();
    for (int i = 0; i < 8; ++i)
        fs::remove_all(at(std::to_string(i)));
    untilIndexEqualsDisk();
    loop.until([&] { return watcher->sweptFolders() == 0; });
    makeFile(at("9/sub/again"));
    untilIndexEqualsDisk();
}

/// In a process and with limits of its own: how many groups of marks the user may have.
void limitGroups(const char* count) {
    for (const char* name : {"inotify_instances", "fanotify_groups"})
        std::ofstream(std::string("/proc/sys/user/max_") + name) << count;
}

TEST_P(FSEventsWatcherTest, SweepsEverythingUntilThereAreMarksToBeHad) {
    constexpr int skipped = 77;
    const auto run = [&] {
        if (unshare(CLONE_NEWUSER) != 0) return skipped;
        limitGroups("0");
        fs::create_directories(at("a/b"));
        makeFile(at("a/b/file"));
        index.scan(root);
        const std::string late = root + " late";
        start({root, late});
        eventually([&] { return watcher->sweptFolders() == 3; });
        makeFile(at("a/new"));
        fs::create_directories(at("a/c/d"));
        untilIndexEqualsDisk();
        eventually([&] { return watcher->sweptFolders() == 5; });
        makeFolder(late);
        makeFile(late + "/file");
        eventually([&] { return index.rows.contains(late + "/file"); });
        fs::remove_all(late);
        eventually([&] { return !index.rows.contains(late + "/file"); });
        letTimePass();
        makeFile(at("a/b/file"), "changed in place");
        limitGroups("16");
        untilIndexEqualsDisk();
        eventually([&] { return watcher->sweptFolders() == 0; });
        makeFile(at("a/c/d/live"));
        untilIndexEqualsDisk();
        watcher.reset();
        return HasFailure() ? 1 : 0;
    };
    bool isAllowed = true;
    const auto isFine = [&](int status) {
        isAllowed = status != W_EXITCODE(skipped, 0);
        return !isAllowed || status == 0;
    };
    EXPECT_EXIT(_exit(run()), isFine, "");
    if (!isAllowed) GTEST_SKIP() << "no limits of one's own here";
}

TEST_P(FSEventsWatcherTest, WaitsForRootsAndNoticesTheirGoing) {
    const std::string late = at("late");
    start({late});
    makeFolder(late);
    makeFile(late + "/file");
    loop.until([&] { return reported.contains(late + "/file"); });
    makeFile(late + "/live");
    loop.until([&] { return index.rows.contains(late + "/live"); });
    fs::rename(late, at("elsewhere"));
    loop.until([&] { return index.rows.empty(); });
    fs::rename(at("elsewhere"), late);
    loop.until([&] { return index.rows.size() == 2; });
    fs::remove_all(late);
    loop.until([&] { return index.rows.empty(); });
}

TEST_P(FSEventsWatcherTest, ARootMovesWithTheOneItLiesIn) {
    fs::create_directories(at("a/b/c"));
    makeFile(at("a/b/c/file"));
    index.scan(root);
    start({at("a/b"), root});
    for (const auto& [from, to] : {std::pair("a", "elsewhere"), {"elsewhere", "a"}}) {
        fs::rename(at(from), at(to));
        untilIndexEqualsDisk();
        makeFile(at(to + "/b/c/live in "s + to));
        untilIndexEqualsDisk();
    }
}

TEST_P(FSEventsWatcherTest, FollowsMountsAndStaysOutOfSpecialOnes) {
    if (!ownMountList()) GTEST_SKIP() << "only root may mount";
    for (const std::string name : {"disk", "proc", "hung"}) {
        makeFolder(at(name));
        makeFile(at(name + "/beneath"));
    }
    index.scan(root);
    start({root});
    const DetachedMount diskMount{at("disk")}, procMount{at("proc")};
    ASSERT_EQ(mount("none", at("disk").c_str(), "tmpfs", 0, nullptr), 0);
    makeFolder(at("disk/folder"));
    makeFile(at("disk/folder/file"));
    untilIndexEqualsDisk();
    makeFile(at("disk/folder/live"));
    untilIndexEqualsDisk();
    ASSERT_EQ(mount("none", at("proc").c_str(), "proc", 0, nullptr), 0);
    untilIndexEqualsDisk();
    EXPECT_TRUE(index.childrenOf(at("proc")).empty());
    {
        const HungMount hung(at("hung"));
        ASSERT_TRUE(hung);
        fs::create_symlink("hung", at("link to it"));
        fs::create_symlink(at("disk/../hung/x"), at("disk/link into it"));
        untilIndexEqualsDisk();
        EXPECT_TRUE(index.childrenOf(at("hung")).empty());
        EXPECT_FALSE(index.rows.at(at("link to it")).isDirectory);
    }
    fs::remove(at("link to it"));
    fs::remove(at("disk/link into it"));
    untilIndexEqualsDisk();
    EXPECT_TRUE(index.rows.contains(at("hung/beneath")));
    // Nothing of ours keeps a disk from being taken away.
    eventually([&] { return umount2(at("disk").c_str(), 0) == 0; });
    eventually([&] { return umount2(at("proc").c_str(), 0) == 0; });
    untilIndexEqualsDisk();
    EXPECT_TRUE(index.rows.contains(at("disk/beneath")));
    makeFile(at("proc/live"));
    untilIndexEqualsDisk();
}

TEST_P(FSEventsWatcherTest, StartsOnceStopsAtOnceAndLeavesNothingBehind) {
    for (int i = 0; i < 500; ++i)
        fs::create_directories(at(std::to_string(i % 20) + "/" + std::to_string(i)));
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = descriptors();
    for (int round = 0; round < 20; ++round) {
        start({root});
        watcher->start({root}, 0, [](const auto&, auto) { FAIL() << "a second start counts"; });
        makeFile(at("seen"));
        loop.until([&] { return reported.contains(at("seen")); });
        makeFile(at("late"));
        const auto begun = std::chrono::steady_clock::now();
        watcher->stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begun, 1s);
        reported.clear();
        loop.settle();
        EXPECT_TRUE(reported.empty());
        watcher->start({root}, 0, [](const auto&, auto) {});  // and is stopped in the middle of its beginning
        watcher.reset();
        lastID = 0;
    }
    loop.settle();
    EXPECT_EQ(descriptors(), before);
    FSEventsWatcher stuck(loop.executor(), std::make_shared<ModelIndex>(), options);
    stuck.start({root}, 1, [](const auto&, auto) {});
    const auto begun = std::chrono::steady_clock::now();
    stuck.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 1s) << "the loop does not run, so the index never answers";
    loop.settle();
}

TEST_P(FSEventsWatcherTest, IndexEqualsDiskAfterAnyOperations) {
    const TemporaryFolder outside(std::get<0>(GetParam()));
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    options.tree.skipPrefixes = std::vector{at("skipped")};
    const std::vector<std::string> roots{root, at("a/b"), root + "/"};  // one inside another is no harm
    start(roots);
    std::vector<std::string> names{"a", "b", "c", "d.txt", "e.app", "skipped", "\xC3\xBC", "\xFF"};
    const auto somePath = [&](const std::string& base) {
        std::string path = base;
        for (unsigned depth = 1 + random() % 4; depth > 0; --depth)
            path += "/" + names[random() % names.size()];
        return path;
    };
    const auto somewhere = [&] { return somePath(random() % 8 == 0 ? outside.path() : root); };
    for (int round = 0; round < 8; ++round) {
        const bool isOff = round % 2 == 1;
        if (isOff) watcher->stop();
        for (int operation = 0; operation < 400; ++operation) {
            std::error_code ignored;
            const std::string path = somewhere();
            switch (random() % 8) {
                case 0:
                case 1:
                    fs::create_directories(path, ignored);
                    break;
                case 2:
                case 3:
                    std::ofstream(path) << std::string(random() % 50, 'x');
                    break;
                case 4:
                    fs::remove_all(path, ignored);
                    break;
                case 5:
                case 6:
                    fs::rename(path, somewhere(), ignored);
                    break;
                default:
                    renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, somewhere().c_str(), RENAME_EXCHANGE);
                    break;
            }
            if (random() % 16 == 0) loop.settle();
        }
        if (isOff) start(roots, lastID);
        untilIndexEqualsDisk();
    }
}
