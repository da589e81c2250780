#include "app/services/files/FileIndexService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <set>

namespace velmora {
namespace {

using namespace std::chrono_literals;

using test::deliver;
using test::FakeDisk;

class FileIndexServiceTest : public testing::Test {
  protected:
    FileIndexServiceTest() {
        database = loop.run([this] { return Database::open(folder.path() + "/index.sqlite", loop.executor()); });
        disk.entries = {"/home/me/Documents/", "/home/me/Documents/report.pdf", "/home/me/notes.txt",
                        "/Library/font.ttf"};
    }

    void start() {
        service = std::make_shared<FileIndexService>(
            loop.executor(), loop.executor(), clock, FileIndexRepository(database, "/home/me", clock),
            FileIndexService::Disk{std::make_shared<test::FakeScanner>(disk, loop.executor()),
                                   std::make_shared<test::FakeWatcher>(disk),
                                   std::make_shared<test::FakeAttributes>(disk)},
            FileIndexService::Folders{"/home/me", "/home/me/.local/share/Velmora"});
        loop.run([this] { return service->start(); });
        loop.settle();
    }

    void stop() {
        loop.run([this] { return service->stop(); });
        loop.settle();
    }

    void report(const std::vector<std::string>& paths, std::uint64_t id) {
        disk.handler(paths, id);
        loop.settle();
    }

    void flush() {
        clock.advance(1s);
        loop.settle();
    }

    std::set<std::string> indexed() {
        const auto rows = loop.run([this] { return database->rows("SELECT path FROM file_index"); });
        std::set<std::string> paths;
        for (const Row& row : rows)
            paths.emplace(row.text("path").value_or(""));
        return paths;
    }

    std::uint64_t bookmark() {
        const FileIndexRepository repository(database, "/home/me", clock);
        return loop.run([&] { return repository.loadEventID(); });
    }

    test::TestLoop loop;
    test::ManualClock clock;
    test::TemporaryFolder folder;
    FakeDisk disk;
    std::shared_ptr<Database> database;
    std::shared_ptr<FileIndexService> service;
};

TEST_F(FileIndexServiceTest, LaterStartsContinueFromTheBookmark) {
    start();
    report({"/home/me/notes.txt"}, 7000);
    flush();
    stop();
    EXPECT_EQ(bookmark(), 7000U);
    disk.scans.clear();
    start();
    EXPECT_TRUE(disk.scans.empty());
    EXPECT_EQ(disk.watchedSince.back(), 7000U);
}

TEST_F(FileIndexServiceTest, AppliesChangesASecondAfterTheFirst) {
    start();
    disk.entries = {"/home/me/new.txt", "/home/me/notes.txt"};
    report({"/System/Volumes/Data/home/me/new.txt", "/home/me/Library/CloudStorage/x"}, 6000);
    clock.advance(900ms);
    report({"/Library/font.ttf", "/home/me/Documents"}, 6100);
    EXPECT_EQ(indexed().size(), 4U);
    disk.sweptFolders = 12;
    clock.advance(100ms);
    loop.settle();
    EXPECT_EQ(indexed(), (std::set<std::string>{"/home/me/new.txt", "/home/me/notes.txt"}))
        << "a folder takes what was in it along";
    EXPECT_EQ(disk.examined.size(), 3U) << "one flush, and nothing of what is skipped";
    EXPECT_EQ(service->statusText(), "Watching · 2 files · 12 folders checked every minute");
    EXPECT_EQ(bookmark(), 6100U);
}

TEST_F(FileIndexServiceTest, ManyChangesTakeSeveralFlushes) {
    start();
    std::vector<std::string> paths;
    for (int i = 0; i < 4500; ++i)
        paths.push_back("/home/me/many/" + std::to_string(i));
    disk.entries.insert(paths.begin(), paths.end());
    report(paths, 6000);
    flush();
    EXPECT_EQ(indexed().size(), 4004U);
    EXPECT_LT(bookmark(), 6000U) << "what is still pending must be seen again after a crash";
    flush();
    EXPECT_EQ(indexed().size(), 4504U);
    EXPECT_EQ(bookmark(), 6000U);
}

TEST_F(FileIndexServiceTest, AFloodOfChangesBecomesOneScan) {
    start();
    disk.scans.clear();
    std::vector<std::string> paths;
    for (int i = 0; i < 20'001; ++i)
        paths.push_back("/home/me/flood/" + std::to_string(i));
    report(paths, 6000);
    EXPECT_EQ(disk.scans.size(), 4U);
    EXPECT_TRUE(disk.examined.empty());

    disk.holdsScans = true;
    service->rebuild();
    loop.settle();
    disk.scans.clear();
    disk.watchedSince.clear();
    report(paths, 6500);
    EXPECT_TRUE(disk.scans.empty()) << "one scan at a time";
    for (const auto& writer : disk.held)
        writer->finish();
    loop.settle();
    EXPECT_FALSE(service->isScanning());
    ASSERT_EQ(disk.watchedSince.size(), 1U) << "what was dropped is replayed from the disk";
    EXPECT_LE(disk.watchedSince[0], 6000U);
}

TEST_F(FileIndexServiceTest, ANewerScanWins) {
    start();
    disk.holdsScans = true;
    service->rebuild();
    loop.settle();
    const auto old = std::exchange(disk.held, {});
    disk.holdsScans = false;
    service->rebuild();
    deliver(loop.executor(), old[0], {FakeDisk::file("/Library/ghost.txt")});
    loop.settle();
    EXPECT_FALSE(indexed().contains("/Library/ghost.txt"));
    EXPECT_FALSE(service->isScanning());
}

TEST_F(FileIndexServiceTest, FailuresStopNothingOrBecomeTheStatusLine) {
    disk.watchingFails = true;
    disk.unreadableRoots = {"/Applications"};
    start();
    EXPECT_EQ(service->statusText(), "Watching · 4 files") << "a root that cannot be read does not stop the others";
    loop.run([this] { return database->close(); });
    service->addRoot("/data");
    loop.settle();
    EXPECT_EQ(service->statusText(), "The database is closed.");
}

}  // namespace
}  // namespace velmora
