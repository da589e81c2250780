#include "app/storage/fileindex/FileIndexRepository.h"

#include "tests/app/storage/fileindex/FileIndexFixture.h"

#include <algorithm>
#include <limits>
#include <set>

namespace velmora {
namespace {

using test::failureOf;
using test::file;
using test::folderAt;

class FileIndexRepositoryTest : public test::FileIndexTest {
  protected:
    std::string list(const std::string& parent, const std::string& sort, std::int64_t limit = 10) {
        return paths(loop.run([&] { return index.list(parent, sort, limit); }));
    }
};

TEST_F(FileIndexRepositoryTest, ListsAFolder) {
    upsert({file("/home/u/b", 1, 30.5), file("/home/u/A", 2, 10), file("/home/u/c", 3, 20), file("/home/u/c/deep"),
            file("/top")});
    EXPECT_EQ(list("~", "size"), "/home/u/c /home/u/A /home/u/b");
    EXPECT_EQ(list("/home/u/", "modified"), "/home/u/b /home/u/c /home/u/A");
    EXPECT_EQ(list("/home/u", "name"), "/home/u/A /home/u/b /home/u/c");
    EXPECT_EQ(list("/home/u", "Name", 1), "/home/u/c");
    EXPECT_EQ(list("/", "name"), "/top");
    EXPECT_EQ(loop.run([&] { return index.list("/home/u", "modified", 1); }).front(), file("/home/u/b", 1, 30.5));
}

TEST_F(FileIndexRepositoryTest, ReadsOddValuesAsUnknown) {
    IndexedFile odd = file("/odd");
    odd.modified = std::numeric_limits<double>::quiet_NaN();
    IndexedFile endless = file("/endless", std::numeric_limits<std::int64_t>::max());
    endless.modified = std::numeric_limits<double>::infinity();
    upsert({odd, endless, file("/plain", 5, 1700000000.125)});
    execute("UPDATE file_index SET size='big', modified='' WHERE path='/plain'");
    for (const IndexedFile& found : loop.run([&] { return index.list("/", "name", 10); })) {
        EXPECT_EQ(found.modified, 0) << found.path;
    }
}

TEST_F(FileIndexRepositoryTest, DeletesExactlyWhatItIsTold) {
    const std::set<std::string> all{"/a",       "/a/B/c", "/a/b",     "/a/b-c",   "/a/b/c",
                                    "/a/b/c/d", "/a/bc",  "/a/x_y/z", "/a/xxy/z", "/home/u/t"};
    const std::vector<std::pair<const char*, std::set<std::string>>> cases{
        {"/a/b", {"/a/b", "/a/b/c", "/a/b/c/d"}},
        {"/a/b/", {"/a/b", "/a/b/c", "/a/b/c/d"}},
        {"/a/x_y", {"/a/x_y/z"}},
        {"~", {"/home/u/t"}},
        {"/", all},
        {"", {}},
        {"/nowhere", {}},
    };
    for (const auto& [tree, gone] : cases) {
        for (const std::string& each : all)
            upsert({file(each)});
        deleteTree(tree);
        std::string left;
        for (const std::string& each : all)
            left += gone.contains(each) ? "" : (left.empty() ? "" : " ") + each;
        EXPECT_EQ(everything(), left) << tree;
        EXPECT_TRUE(isSound()) << tree;
    }
    deletePaths({"/a/b", "/nowhere", "/a", "/a", "/a/B"});
    EXPECT_EQ(everything(), "/a/B/c /a/b-c /a/b/c /a/b/c/d /a/bc /a/x_y/z /a/xxy/z /home/u/t");
}

TEST_F(FileIndexRepositoryTest, DeletesATreeOfManySteps) {
    std::vector<IndexedFile> tree{folderAt("/t")};
    for (std::size_t i = 0; i < FileIndexRepository::deletionStep * 2 + 3; ++i)
        tree.push_back(file("/t/" + std::to_string(i % 7) + "/" + std::to_string(i)));
    // Alone, and with a neighbour on either side.
    for (const std::string neighbour : {"", "/t.txt", "/t0", "/s"}) {
        upsert(tree);
        if (!neighbour.empty()) upsert({file(neighbour)});
        deleteTree("/t");
        EXPECT_EQ(everything(), neighbour);
        EXPECT_TRUE(isSound()) << neighbour;
        deletePaths({neighbour});
    }
}

TEST_F(FileIndexRepositoryTest, TellsFoldersAmongManyPaths) {
    upsert({folderAt("/first"), folderAt("/last"), file("/file"), folderAt("/other")});
    std::vector<std::string> asked{"/first", "/file", "~/first"};
    asked.resize(1000, "/absent");
    asked.emplace_back("/last");
    EXPECT_EQ(loop.run([&] { return index.directories(asked); }), (std::set<std::string>{"/first", "/last"}));
    EXPECT_TRUE(loop.run([&] { return index.directories({}); }).empty());
}

TEST_F(FileIndexRepositoryTest, KeepsRoots) {
    const auto add = [&](const std::string& root) { loop.run([&] { return index.addRoot(root); }); };
    const auto roots = [&] { return loop.run([&] { return index.roots(); }); };
    add("/z");
    add("~/Documents");
    add("/home/u/Documents/");
    add("/z");
    ASSERT_EQ(roots().size(), 2U);
    EXPECT_EQ(roots()[0].path, "/home/u/Documents");
    const IndexRoot last = roots()[1];
    EXPECT_EQ(last.path, "/z");
    EXPECT_EQ(std::stod(one("SELECT added_at AS c FROM index_roots WHERE path='/z'")), secondsSince1970(clock.now()));
    upsert({file("/z/kept")});
    loop.run([&] { return index.removeRoot(last.id); });
    ASSERT_EQ(roots().size(), 1U);
    EXPECT_EQ(everything(), "/z/kept");
}

TEST_F(FileIndexRepositoryTest, RemembersTheLastEvent) {
    const auto load = [&] { return loop.run([&] { return index.loadEventID(); }); };
    EXPECT_EQ(load(), 0U);
    for (const std::uint64_t id : {std::uint64_t{7}, std::numeric_limits<std::uint64_t>::max()}) {
        loop.run([&] { return index.saveEventID(id); });
        EXPECT_EQ(load(), id);
    }
    for (const char* const odd : {"abc", "", "-1", "12 ", "1.5", "18446744073709551616"}) {
        execute("UPDATE settings SET value=? WHERE key='fileIndex.lastEventID'", {odd});
        EXPECT_EQ(load(), 0U) << odd;
    }
}

TEST_F(FileIndexRepositoryTest, RebuildsTheFullTextIndex) {
    const auto done = [&] { return loop.run([&] { return index.ftsBackfillDone(); }); };
    EXPECT_FALSE(done());
    execute("INSERT INTO settings(key,value) VALUES('fileIndex.ftsBackfilled','yes')");
    EXPECT_FALSE(done());
    loop.run([&] { return index.markFTSBackfillDone(); });
    EXPECT_TRUE(done());

    execute("DROP TRIGGER file_index_ai");
    execute("INSERT INTO file_index(path,name,parent) VALUES('/before','before','/')");
    EXPECT_FALSE(isSound());
    loop.run([&] { return index.rebuildFTS(); });
    EXPECT_TRUE(isSound());
    EXPECT_EQ(search("efor"), "/before");
    execute("DROP TABLE file_index_fts");
    EXPECT_EQ(failureOf([&] { loop.run([&] { return index.rebuildFTS(); }); }), "");
}

TEST_F(FileIndexRepositoryTest, MergesTheFullTextIndexStepByStepWhileItIsWritten) {
    const auto pieces = [&] { return one("SELECT COUNT(DISTINCT segid) AS c FROM file_index_fts_idx"); };
    const auto step = [&] { return loop.run([&] { return index.mergeFTS(); }); };
    int number = 0;
    const auto write = [&] {
        std::vector<IndexedFile> files;
        for (int i = 0; i < 2000; ++i, ++number)
            files.push_back(file("/" + std::to_string(number) + "/" + std::to_string(number * 7919) + "name.txt"));
        upsert(files);
    };
    for (int batch = 0; batch < 5; ++batch)
        write();
    EXPECT_NE(pieces(), "1");
    EXPECT_TRUE(step());
    write();
    deleteTree("/17");
    int steps = 0;
    while (step() && ++steps < 1000) {
    }
    EXPECT_EQ(pieces(), "1");
    EXPECT_FALSE(step());
    EXPECT_TRUE(isSound());
    EXPECT_EQ(search("79190000name"), "/10000/79190000name.txt");
    execute("DROP TABLE file_index_fts");
    EXPECT_FALSE(step());
}

TEST(IndexedFile, ReadsItsOwnJSON) {
    const IndexedFile whole{"/a/\"b\"", "\"b\"", true, std::int64_t{1} << 52, 0.5};
    EXPECT_EQ(IndexedFile::fromJSON(whole.toJSON()), whole);
    const IndexRoot root{"ID", "/a"};
    EXPECT_EQ(IndexRoot::fromJSON(root.toJSON()), root);
    EXPECT_THROW(IndexRoot::fromJSON(whole.toJSON()), JSONError);
}

}  // namespace
}  // namespace velmora
