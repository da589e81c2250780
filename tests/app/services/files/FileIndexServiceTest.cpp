#include "app/services/files/FileIndexService.h"

#include "core/AppError.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        disk.now = std::max(disk.now, id);
        disk.handler(paths, id);
        loop.settle();
    }

    void flush(std::chrono::seconds after = 1s) {
        clock.advance(after);
        loop.settle();
    }

    /// Nothing can be written, as on a full disk.
    void refuseWrites(bool refuse) {
        loop.run([&] { return database->execute(refuse ? "PRAGMA query_only=ON" : "PRAGMA query_only=OFF"); });
    }

    /// Begins a scan that goes on until `finishScan`.
    void scanHeld() {
        disk.holdsScans = true;
        service->rebuild();
        loop.settle();
        disk.holdsScans = false;
    }
    void finishScan() {
        loop.settle();
        for (const auto& [root, writer] : disk.held)
            writer->finish();
        loop.settle();
    }

    std::string idOf(const std::string& path) {
        const auto& roots = service->roots();
        const auto found = std::ranges::find(roots, path, &IndexRoot::path);
        return found == roots.end() ? "" : found->id;
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
    stop();
    disk.now = 5500;  // the clock ran ahead and has been set back
    start();
    EXPECT_EQ(disk.scans.size(), 4U);
    disk.handler({}, 7000);
    stop();
    EXPECT_EQ(bookmark(), 5500U);
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

    scanHeld();
    disk.scans.clear();
    disk.watchedSince.clear();
    report(paths, 6500);
    EXPECT_TRUE(disk.scans.empty()) << "one scan at a time";
    finishScan();
    EXPECT_FALSE(service->isScanning());
    ASSERT_EQ(disk.watchedSince.size(), 1U) << "what was dropped is replayed from the disk";
    EXPECT_LE(disk.watchedSince[0], 6000U);
}

TEST_F(FileIndexServiceTest, ANewerScanWins) {
    start();
    std::set<std::string> shown;
    const Subscription changes = service->onChange([&] { shown.insert(service->statusText()); });
    scanHeld();
    service->rebuild();
    deliver(loop.executor(), disk.held["/Library"], {FakeDisk::file("/Library/ghost.txt")});
    loop.until([&] { return !service->isScanning(); });
    service->rebuild();  // while the last one is being counted
    spawn(loop.executor(), [this] { return service->start(); }).cancel();
    loop.settle();
    EXPECT_FALSE(indexed().contains("/Library/ghost.txt"));
    EXPECT_FALSE(service->isScanning());
    EXPECT_FALSE(shown.contains("Operation cancelled."));
}

TEST_F(FileIndexServiceTest, WhatCouldNotBeWrittenIsScannedAgain) {
    const auto expectBehind = [&](std::uint64_t mark, const char* what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(service->statusText(), "Could not save local data.");
        EXPECT_EQ(bookmark(), mark);
        flush(2s);
        EXPECT_EQ(service->statusText(), "Watching · 2 files");
        EXPECT_EQ(indexed(), (std::set<std::string>{"/home/me/new.txt", "/home/me/other.txt"}));
        EXPECT_EQ(bookmark(), disk.now);
    };
    const auto failToFlush = [&](const std::vector<std::string>& paths, std::uint64_t id) {
        refuseWrites(true);
        report(paths, id);
        flush();
        refuseWrites(false);
    };
    start();
    disk.entries = {"/home/me/new.txt", "/home/me/other.txt"};
    failToFlush({"/home/me/new.txt", "/home/me/notes.txt"}, 7000);
    report({"/home/me/other.txt"}, 8000);
    flush();
    expectBehind(5000, "a flush, and another one that succeeded");

    scanHeld();
    deliver(loop.executor(), disk.held["/home/me"], {FakeDisk::file("/home/me/new.txt")});
    refuseWrites(true);
    finishScan();
    refuseWrites(false);
    expectBehind(0, "a batch of a scan");

    scanHeld();
    failToFlush({"/home/me/other.txt"}, 9000);
    finishScan();
    expectBehind(0, "a flush beside a scan");

    int scans = 0;
    const Subscription changes = service->onChange([&] { scans += service->isScanning() ? 1 : 0; });
    refuseWrites(true);
    service->rebuild();
    loop.settle();
    for (const auto wait : {2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
        scans = 0;
        flush(wait - 1s);
        const int before = scans;
        flush(1s);
        EXPECT_EQ(std::pair(before, scans), std::pair(0, 1)) << wait.count() << " s";
    }
    stop();
    EXPECT_EQ(bookmark(), 9000U) << "no scan has begun";
}

TEST_F(FileIndexServiceTest, WhatWasSeenBeforeAChangeDoesNotStay) {
    start();
    scanHeld();
    disk.entries.erase("/home/me/notes.txt");
    report({"/home/me/notes.txt"}, 6000);
    int changes = 0;
    const Subscription subscription = service->onChange([&] { ++changes; });
    flush();
    EXPECT_EQ(changes, 1) << "the count";
    disk.onExamine = [&] { service->removeRoot(idOf("/Library")); };
    report({"/Library/font.ttf"}, 6100);
    flush();
    disk.onExamine = nullptr;
    for (const char* const seen : {"/Library/ghost.txt", "/home/me/notes.txt"})
        deliver(loop.executor(), disk.held[seen[1] == 'L' ? "/Library" : "/home/me"], {FakeDisk::file(seen)});
    finishScan();
    EXPECT_LT(bookmark(), 6000U);
    flush();
    EXPECT_EQ(indexed(), std::set<std::string>{});

    service->addRoot("/home/me/Documents");
    loop.settle();
    service->removeRoot(idOf("/home/me/Documents"));
    loop.settle();
    EXPECT_EQ(indexed().size(), 2U) << "the outer root has it still";
    stop();
    service->addRoot("/late");
    loop.settle();
    EXPECT_EQ(idOf("/late"), "");
    EXPECT_FALSE(disk.handler) << "watched no longer";
}

TEST_F(FileIndexServiceTest, AChangeOfRootsMayBeCutOffAnywhere) {
    static constexpr auto isSound =
        "SELECT (SELECT value FROM settings WHERE key='fileIndex.lastEventID')='0' OR "
        "(EXISTS(SELECT * FROM index_roots WHERE path='/data')=EXISTS(SELECT * FROM file_index WHERE name='file')) AS "
        "c";
    test::TestLoop other;
    const auto seen = other.run([&] { return Database::open(folder.path() + "/index.sqlite", other.executor()); });
    const auto expectSound = [&](const char* after, int cut) {
        const auto rows = other.run([&] { return seen->rows(isSound); });
        EXPECT_TRUE(rows.front().boolean("c")) << after << " cut " << cut;
    };
    disk.entries.insert("/data/file");
    start();
    for (int cut = 0; cut < 48; ++cut) {
        cut % 2 == 0 ? service->addRoot("/data") : service->removeRoot(idOf("/data"));
        loop.until([left = cut / 2]() mutable { return left-- == 0; });
        expectSound("killed", cut);
        stop();
        expectSound("stopped", cut);
        start();
    }
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
