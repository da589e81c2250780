#include "tests/app/storage/fileindex/FileIndexFixture.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <random>

namespace velmora {
namespace {

using test::failureOf;
using test::file;
using test::folderAt;

class FileIndexFaults : public test::FileIndexTest {};

TEST_F(FileIndexFaults, StaysSoundThroughRandomChanges) {
    std::mt19937 random(1);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const std::string letters[] = {"alpha", "Alphabet", "ß-beta", "gamma gamma", "x", "", "a\"b'c%_\\", "שלום"};
    std::map<std::string, std::string> expected;
    const auto randomPath = [&] { return "/r/" + std::to_string(below(6)) + "/" + std::to_string(below(40)); };
    const auto change = [&] {
        std::vector<IndexedFile> files;
        std::vector<std::string> gone;
        for (std::size_t i = 0; i < 30; ++i) {
            const std::string at = randomPath();
            files.push_back({at, letters[below(8)] + letters[below(8)], below(2) == 0, 1, 1});
            gone.push_back(randomPath());
        }
        const std::string by = files[0].path;
        switch (below(6)) {
            case 4:  // by the triggers
                execute("INSERT OR IGNORE INTO file_index(path,name,parent) VALUES(?,'new',?)", {by, "/r"});
                expected.try_emplace(by, "new");
                execute("UPDATE file_index SET name='renamed' WHERE path=?", {by});
                expected[by] = "renamed";
                break;
            case 5:
                execute("DELETE FROM file_index WHERE path=?", {by});
                expected.erase(by);
                break;
            case 0:
                deletePaths(gone);
                for (const std::string& at : gone)
                    expected.erase(at);
                break;
            case 1: {
                const std::string tree = "/r/" + std::to_string(below(6));
                deleteTree(tree);
                std::erase_if(expected, [&](const auto& entry) { return entry.first.starts_with(tree + "/"); });
                break;
            }
            default:
                upsert(files);
                for (const IndexedFile& written : files)
                    expected[written.path] = written.name;
        }
    };
    for (int i = 0; i < 80; ++i) {
        change();
        ASSERT_TRUE(isSound()) << "after change " << i;
    }
    std::map<std::string, std::string> stored;
    for (const Row& row : rows("SELECT path,name FROM file_index"))
        stored.emplace(row.text("path").value_or(""), row.text("name").value_or(""));
    EXPECT_EQ(stored, expected);
}

TEST_F(FileIndexFaults, AFailedBatchLeavesNothing) {
    upsert({file("/kept"), file("/gone")});
    execute("CREATE UNIQUE INDEX refusing ON file_index(size) WHERE size=13");
    upsert({file("/thirteen", 13)});
    const IndexedFile renamed{"/gone", "another name", false, 1, 0};
    EXPECT_EQ(failureOf([&] {
                  upsert({file("/aaa"), renamed, file("/mmm", 13), file("/zzz")});
              }),
              "Could not save local data.");
    EXPECT_EQ(everything(), "/gone /kept /thirteen");
    EXPECT_TRUE(isSound());
    execute("INSERT INTO file_index(path,name,parent) VALUES('/later','later','/')");
    EXPECT_EQ(search("later"), "/later") << "the triggers are on again";
}

TEST_F(FileIndexFaults, NamesAreOpaque) {
    using namespace std::string_literals;
    const std::string names[] = {"a\0b"s, "a"s,        "\xFF\xFE bad"s, "tab\tquote\"'`\n"s,
                                 "%_\\"s, "\xF0\x90"s, "\0"s,           " "s};
    std::vector<IndexedFile> files;
    for (const std::string& name : names)
        files.push_back({"/o/" + name, name, false, 1, 0});
    files.push_back(file("/o/" + std::string(6000, 'd') + "/deep"));
    const auto sorted = [](std::vector<IndexedFile> all) {
        std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
        return all;
    };
    upsert(files);
    upsert(files);
    files.pop_back();
    // Each goes alone, and its neighbours stay; above all the one that reads like the beginning of another.
    for (std::size_t left = files.size(); left > 0; --left) {
        const auto found = loop.run([&] { return index.list("/o", "name", 100); });
        EXPECT_EQ(sorted(found), sorted(files));
        const std::string last = files.back().path;
        files.pop_back();
        left % 2 == 0 ? deleteTree(last) : deletePaths({last});
        EXPECT_TRUE(isSound());
    }
    upsert({folderAt("/a"), folderAt("/a\0b"s), file("/a\0b/c"s), file("/a\0bc"s), file("/a/c")});
    deleteTree("/o");
    deleteTree("/a\0b"s);
    EXPECT_EQ(everything(), "/a /a\0bc /a/c"s);
}

/// What a child process does until it is killed: batches of new, changed and deleted names, without end.
[[noreturn]] void writeForever(const std::string& path, int ready) {
    test::TestLoop loop;
    const WorkerPool pool(1);
    const test::ManualClock clock;
    const auto database = loop.run([&] { return Database::open(path, pool.executor()); });
    const FileIndexRepository index(database, "/home/u", clock);
    for (std::uint64_t round = 0;; ++round) {
        std::vector<IndexedFile> files;
        for (int i = 0; i < 400; ++i) {
            const std::string at = "/k/" + std::to_string(i % 9) + "/" + std::to_string((round * 151 + i * 7) % 1000);
            files.push_back({at, "name " + std::to_string(round % 5) + "-" + std::to_string(i), false, 1, 0});
        }
        loop.run([&] { return index.upsert(files); });
        if (round % 3 == 0) loop.run([&] { return index.deletePaths({files[0].path, files[9].path}); });
        if (round % 7 == 0) loop.run([&] { return index.deleteTree("/k/" + std::to_string(round % 9)); });
        loop.run([&] { return index.saveEventID(round); });
        if (round >= 3 && ::write(ready, "x", 1) != 1) ::_exit(1);
    }
}

TEST(FileIndexKill, LeavesASoundIndex) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path() + "/velmora.sqlite";
    for (int kill = 0; kill < 6; ++kill) {
        int ready[2];
        ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) writeForever(path, ready[1]);
        ::close(ready[1]);
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        ::usleep(static_cast<useconds_t>(3000 * kill));  // somewhere in a batch, elsewhere each time
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(ready[0]);

        test::TestLoop loop;
        const WorkerPool pool(1);
        const test::ManualClock clock;
        const auto database = loop.run([&] { return Database::open(path, pool.executor()); });
        const FileIndexRepository index(database, "/home/u", clock);
        constexpr auto check = "INSERT INTO file_index_fts(file_index_fts,rank) VALUES('integrity-check',1)";
        EXPECT_NO_THROW(loop.run([&] { return database->execute(check); }));
        EXPECT_GE(loop.run([&] { return index.loadEventID(); }), 3U);
        EXPECT_GT(loop.run([&] { return index.count(); }), 300);
        EXPECT_EQ(loop.run([&] { return database->rows("PRAGMA quick_check"); }).front().text("quick_check"), "ok");
    }
}

}  // namespace
}  // namespace velmora
