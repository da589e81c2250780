#include "core/AppError.h"
#include "core/files/FileNames.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/DiskFileScanner.h"
#include "platform/linux/disk/FolderWalk.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/FileTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <set>
#include <thread>

using namespace velmora;
using namespace velmora::test;
namespace fs = std::filesystem;

namespace {

class DiskFileScannerTest : public testing::Test {
  protected:
    static std::map<std::string, IndexedFile> below(const std::string& from, const std::vector<IndexedFile>& files) {
        std::map<std::string, IndexedFile> byName;
        for (const IndexedFile& file : files) {
            EXPECT_EQ(file.name, file.path.substr(file.path.rfind('/') + 1));
            EXPECT_TRUE(byName.emplace(file.path.substr(from.size() + 1), file).second) << "twice: " << file.path;
        }
        return byName;
    }

    std::vector<std::size_t> batchSizes;

    std::vector<IndexedFile> scan(const std::string& from, std::vector<std::string> skip = {}) {
        return loop.run([&]() -> Task<std::vector<IndexedFile>> {
            auto stream = scanner.scan(from, skip);
            std::vector<IndexedFile> all;
            for (;;) {
                auto batch = co_await stream.next();
                if (!batch) co_return all;
                batchSizes.push_back(batch->size());
                all.insert(all.end(), batch->begin(), batch->end());
            }
        });
    }

    std::set<std::string> names(const std::string& from, std::vector<std::string> skip = {}) {
        std::set<std::string> result;
        for (const auto& [name, file] : below(from, scan(from, std::move(skip))))
            result.insert(name);
        return result;
    }

    TestLoop loop;
    TemporaryFolder folder{"/dev/shm"};
    const std::string root = folder.path();
    DiskFileScanner scanner{root + "/ho\"me"};
};

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

using Names = std::set<std::string>;

}  // namespace

TEST_F(DiskFileScannerTest, ListsEverythingBelowTheRootWithItsAttributes) {
    makeFolder(root + "/folder");
    makeFile(root + "/folder/.hidden", "12345");
    makeFolder(root + "/Tool.app");
    makeFile(root + "/Tool.app/inside");
    makeFolder(root + "/.app");
    makeFile(root + "/.app/inside");
    fs::create_symlink(root, root + "/folder/loop");
    fs::create_symlink("nowhere", root + "/dangling");
    ASSERT_EQ(mkfifo((root + "/fifo").c_str(), 0600), 0);
    const timespec times[2] = {{1, 0}, {1'600'000'000, 250'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, (root + "/folder/.hidden").c_str(), times, 0), 0);

    const auto files = below(root, scan(root));
    Names listed;
    for (const auto& [name, file] : files)
        listed.insert(name + (file.isDirectory ? "/" : ""));
    EXPECT_EQ(listed, (Names{"folder/", "folder/.hidden", "Tool.app/", ".app/", ".app/inside", "folder/loop",
                             "dangling", "fifo"}));
    EXPECT_EQ(files.at("folder/.hidden").size, 5);
    EXPECT_EQ(files.at("folder/.hidden").modified, 1'600'000'000.25);
    EXPECT_EQ(files.at("folder").size, 0);
    EXPECT_EQ(scan(root + "/"), scan(root));
}

TEST_F(DiskFileScannerTest, DeliversBatchesOfFiveThousand) {
    for (int i = 0; i < 12'001; ++i)
        makeFile(root + "/" + std::to_string(i), "");
    EXPECT_EQ(names(root).size(), 12'001U);
    EXPECT_EQ(batchSizes, (std::vector<std::size_t>{5'000, 5'000, 2'001}));
}

TEST_F(DiskFileScannerTest, LeavesOutWhatStartsWithASkipPrefix) {
    for (const char* name : {"/data", "/data2", "/kept", "/kept/data"})
        makeFolder(root + name);
    makeFile(root + "/data/secret");
    makeFile(root + "/kept/data/file");
    EXPECT_EQ(names(root, {root + "/data", root + "/kept/data/"}), (Names{"kept", "kept/data"}));
}

TEST_F(DiskFileScannerTest, KeepsEveryNameFindableAndOpenable) {
    const std::vector<std::string> nasty{"new\nline",    "quote\"'", "e\xCC\x81", "caf\xE9",
                                         "\xEE\xBF\xA9", "-rf",      "...",       std::string(255, '\x80')};
    for (const std::string& name : nasty) {
        makeFolder(root + "/" + name);
        makeFile(root + "/" + name + "/" + name, name);
    }
    const auto files = below(root, scan(root));
    EXPECT_EQ(files.size(), 2 * nasty.size());
    for (const std::string& name : nasty) {
        const std::string text = fileNameText(name);
        ASSERT_TRUE(files.contains(text + "/" + text)) << text;
        const IndexedFile& file = files.at(text + "/" + text);
        EXPECT_TRUE(fs::exists(fileNameBytes(file.path)));
        const auto attributes = DiskFileAttributes().attributes(file.path);
        ASSERT_TRUE(attributes) << text;
        EXPECT_EQ(attributes->size, static_cast<std::int64_t>(name.size()));
    }
    // Such a folder may also be the root, and the home folder.
    EXPECT_EQ(names(root + "/" + fileNameText("caf\xE9")).size(), 1U);
    makeFolder(root + "/ho\"me");
    makeFile(root + "/ho\"me/file");
    EXPECT_EQ(scan("~").at(0).path, root + "/ho\"me/file");
}

TEST_F(DiskFileScannerTest, WalksTreesDeeperThanPathsAndDescriptorsReach) {
    struct Case {
        std::string name;
        int depth;
    };
    for (const Case& chain : {Case{std::string(200, 'd'), 60}, Case{"d", 1'500}}) {
        const DeepChain deep(root, chain.name, chain.depth);
        makeFile(root + "/" + chain.name + "/zz-after", "");
        const std::size_t before = openDescriptors();
        const auto files = scan(root);
        EXPECT_EQ(files.size(), static_cast<std::size_t>(chain.depth) + 2);
        const auto bottom = std::find_if(files.begin(), files.end(), [](const auto& f) { return f.name == "bottom"; });
        ASSERT_NE(bottom, files.end());
        const auto attributes = DiskFileAttributes().attributes(bottom->path);
        ASSERT_TRUE(attributes);
        EXPECT_FALSE(attributes->isDirectory);
        EXPECT_FALSE(DiskFileAttributes().attributes(bottom->path + "-"));
        EXPECT_EQ(openDescriptors(), before);
        fs::remove(root + "/" + chain.name + "/zz-after");
    }
}

TEST_F(DiskFileScannerTest, GoesOnWhereItWasAfterATreeDeeperThanItsDescriptors) {
    // Wide folders on every level, so that each is read again from the middle once its deep child is done.
    std::string path = root;
    std::size_t expected = 0;
    for (int level = 0; level < 80; ++level) {
        for (int i = 0; i < 3; ++i, ++expected)
            makeFolder(path + "/" + std::to_string(i));
        path += "/1";
    }
    FolderWalk walk(root, {});
    std::set<std::string> seen;
    std::size_t most = 0;
    for (;;) {
        const auto files = walk.next(1, [] { return false; });
        if (files.empty()) break;
        EXPECT_TRUE(seen.insert(files.front().path).second);
        most = std::max(most, openDescriptors());
    }
    EXPECT_EQ(seen.size(), expected);
    EXPECT_LT(most, FolderWalk::maximumOpenFolders + 20);
}

TEST_F(DiskFileScannerTest, FailsOnlyForTheRoot) {
    makeFile(root + "/file");
    for (const std::string& bad : {root + "/absent", root + "/file", std::string()}) {
        try {
            scan(bad);
            FAIL() << bad;
        } catch (const AppError& error) {
            EXPECT_STREQ(error.what(), "The index folder could not be read.");
            EXPECT_EQ(error.kind(), AppError::Kind::recoverable);
        }
    }
}

TEST_F(DiskFileScannerTest, SurvivesAChangingTree) {
    std::atomic<bool> stop = false;
    std::thread changer([&] {
        for (unsigned i = 0; !stop; ++i) {
            const std::string name = root + "/changing" + std::to_string(i % 50);
            std::error_code ignored;
            fs::create_directories(name + "/a/b", ignored);
            fs::rename(name, name + "-renamed", ignored);
            fs::remove_all(name + "-renamed", ignored);
            if (i % 2 == 0) {
                fs::create_symlink("/", name, ignored);
                fs::remove(name, ignored);
            }
        }
    });
    for (int i = 0; i < 200; ++i) {
        fs::create_directories(root + "/still/" + std::to_string(i));
        makeFile(root + "/still/" + std::to_string(i) + "/file");
    }
    for (int round = 0; round < 20; ++round) {
        const auto files = scan(root);
        const auto kept = std::count_if(files.begin(), files.end(), [&](const auto& file) {
            EXPECT_TRUE(file.path.starts_with(root + "/"));
            return file.path.starts_with(root + "/still/");
        });
        EXPECT_EQ(kept, 400);
    }
    stop = true;
    changer.join();
}

TEST_F(DiskFileScannerTest, EndsWithItsReader) {
    // More than the batches that a walk may have in flight, so that it is waiting in the middle when the reader goes.
    for (int i = 0; i < 5; ++i) {
        makeFolder(root + "/" + std::to_string(i));
        for (int j = 0; j < 5'000; ++j)
            makeFile(root + "/" + std::to_string(i) + "/" + std::to_string(j), "");
    }
    const std::size_t before = openDescriptors();
    loop.run([&]() -> Task<> {
        auto stream = scanner.scan(root, {});
        const auto first = co_await stream.next();
        EXPECT_TRUE(first.has_value());
    });
    loop.until([&] { return openDescriptors() == before; });
}

TEST(MountTable, KeepsOutOfMadeUpAndStallingTrees) {
    const std::string list =
        "22 1 8:1 / / rw - ext4 /dev/sda rw\n"
        "23 22 0:5 / /data/proc rw shared:3 - proc proc rw\n"
        "24 22 0:6 / /data/with\\040space/share rw - fuse.sshfs host:/ rw\n"
        "25 22 0:7 / /data/disk rw master:1 - fuseblk /dev/sdb1 rw\n"
        "26 22 0:8 / /database/nfs rw - nfs4 host:/ rw\n"
        "27 22 0:9 / /data rw - nfs4 host:/ rw\n"
        "garbage\n";
    const MountTable table("/link", "/data", list);
    EXPECT_TRUE(table.isBlocked("/link/proc"));
    EXPECT_TRUE(table.hasBlockedChild("/link"));
    EXPECT_TRUE(table.isBlocked("/link/with space/share"));
    EXPECT_TRUE(table.hasBlockedChild("/link/with space"));
    EXPECT_FALSE(table.isBlocked("/link/disk"));
    EXPECT_FALSE(table.isBlocked("/link"));
    EXPECT_EQ(table.mounts().size(), 3U);
    EXPECT_TRUE(MountTable("/", "/", list).hasBlockedChild("/database"));
}

TEST_F(DiskFileScannerTest, AttributesFollowLinksAndForgetFractions) {
    makeFolder(root + "/folder");
    makeFile(root + "/file", "1234");
    const timespec times[2] = {{1, 0}, {1'600'000'000, 750'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, (root + "/file").c_str(), times, 0), 0);
    fs::create_symlink("file", root + "/link");
    fs::create_symlink("absent", root + "/dangling");
    const DiskFileAttributes reader;
    const ScannedAttributes file{false, 4, 1'600'000'000};
    EXPECT_EQ(reader.attributes(root + "/file"), file);
    EXPECT_EQ(reader.attributes(root + "/link"), file);
    EXPECT_TRUE(reader.attributes(root + "/folder")->isDirectory);
    for (const std::string& absent : {root + "/dangling", root + "/file/x", std::string(), std::string("a\0b", 3)})
        EXPECT_FALSE(reader.attributes(absent)) << absent;
}
