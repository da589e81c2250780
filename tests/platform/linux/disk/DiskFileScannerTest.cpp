#include "core/AppError.h"
#include "core/files/FileNames.h"
#include "platform/linux/disk/DiskFileAttributes.h"
#include "platform/linux/disk/DiskFileScanner.h"
#include "platform/linux/disk/FolderWalk.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/FileTree.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>

using namespace velmora;
using namespace velmora::test;
using namespace std::string_literals;
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

    std::vector<IndexedFile> scan(const std::string& from, std::vector<std::string> skip = {}) {
        return loop.run([&]() -> Task<std::vector<IndexedFile>> {
            auto stream = scanner.scan(from, skip);
            std::vector<IndexedFile> all;
            for (;;) {
                auto batch = co_await stream.next();
                if (!batch) co_return all;
                all.insert(all.end(), batch->begin(), batch->end());
            }
        });
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

    for (const char* name : {"/data", "/data2"})
        makeFolder(root + name);
    const auto files = below(root, scan(root + "/", {root + "/data"}));
    std::set<std::string> listed;
    for (const auto& [name, file] : files)
        listed.insert(name + (file.isDirectory ? "/" : ""));
    EXPECT_EQ(listed, (std::set<std::string>{"folder/", "folder/.hidden", "Tool.app/", ".app/", ".app/inside",
                                             "folder/loop", "dangling", "fifo", "data2/"}));
    const auto dangling = DiskFileAttributes().attributes(root + "/dangling");
    ASSERT_TRUE(dangling);
    EXPECT_EQ(dangling->size, files.at("dangling").size);
    EXPECT_EQ(files.at("folder/.hidden").size, 5);
    EXPECT_EQ(files.at("folder/.hidden").modified, 1'600'000'000.25);
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
    EXPECT_EQ(scan(root + "/" + fileNameText("caf\xE9")).size(), 1U);
    makeFolder(root + "/ho\"me");
    makeFile(root + "/ho\"me/file");
    EXPECT_EQ(scan("~").at(0).path, root + "/ho\"me/file");
}

TEST_F(DiskFileScannerTest, LooksAtWhatLinksLeadTo) {
    makeFolder(root + "/folder");
    makeFile(root + "/folder/file", "1234567");
    using Links = std::vector<std::pair<std::string, std::int64_t>>;
    const Links links{{"folder/file", 7},
                      {root + "//folder/./file", 7},
                      {"folder/../../../" + root.substr(5) + "/link 1", 7},
                      {"../../shm/../../etc/passwd", static_cast<std::int64_t>(fs::file_size("/etc/passwd"))},
                      {"link 4", 6},
                      {"nowhere/../folder/file", 22}};
    for (std::size_t i = 0; i < links.size(); ++i) {
        const std::string link = root + "/link " + std::to_string(i);
        fs::create_symlink(links[i].first, link);
        const auto attributes = DiskFileAttributes().attributes(link);
        EXPECT_EQ(attributes ? attributes->size : -1, links[i].second) << links[i].first;
    }
    fs::create_symlink(root + "/folder", root + "/link");
    EXPECT_TRUE(DiskFileAttributes().attributes(root + "/link")->isDirectory);
}

TEST_F(DiskFileScannerTest, WalksTreesDeeperThanPathsAndDescriptorsReach) {
    for (const auto& [name, depth] : std::map<std::string, int>{{std::string(200, 'd'), 60}, {"d", 1'500}}) {
        const DeepChain deep(root, name, depth);
        const std::size_t before = openDescriptors();
        const auto files = scan(root);
        EXPECT_EQ(files.size(), static_cast<std::size_t>(depth) + 1);
        const auto bottom = std::find_if(files.begin(), files.end(), [](const auto& f) { return f.name == "bottom"; });
        ASSERT_NE(bottom, files.end());
        const auto attributes = DiskFileAttributes().attributes(bottom->path);
        ASSERT_TRUE(attributes);
        EXPECT_FALSE(attributes->isDirectory);
        EXPECT_EQ(openDescriptors(), before);
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
    for (const std::string& bad : {root + "/absent", root + "/file", std::string()})
        EXPECT_THROW(scan(bad), AppError) << bad;
}

TEST_F(DiskFileScannerTest, EndsWithItsReader) {
    // More than the batches that a walk may have in flight, so that it is waiting in the middle when the reader goes.
    for (int i = 0; i < 25'000; ++i)
        makeFile(root + "/" + std::to_string(i), "");
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
        "23 22 0:5 / /data/proc rw shared:3 - proc proc rw\n"
        "24 22 0:6 / /data/with\\040space/share rw - fuse.sshfs host:/ rw\n"
        "25 22 0:7 / /data/disk rw master:1 - fuseblk /dev/sdb1 rw\n"
        "26 24 0:8 / /data/with\\040space/share/disk rw - tmpfs none rw\n"
        "27 22 0:9 / /data rw - nfs4 host:/ rw\n"
        "garbage\n";
    const MountTable table("/link", "/data", list);
    EXPECT_TRUE(table.isBlocked("/link/proc"));
    EXPECT_EQ(table.stallingMount("/link/proc/1"), "");
    const std::string share = "/link/with space/share";
    for (const std::string& inside : {share, share + "/file", share + "/disk", share + "/disk/file"}) {
        EXPECT_TRUE(table.isBlocked(inside)) << inside;
        EXPECT_EQ(table.stallingMount(inside), share) << inside;
    }
    for (const std::string& outside : {"/link"s, "/link/disk"s, share + " 2", "/link/with space"s})
        EXPECT_FALSE(table.isBlocked(outside)) << outside;
    EXPECT_EQ(table.mounts().size(), 4U);
}
