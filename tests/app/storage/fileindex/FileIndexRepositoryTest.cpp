#include "app/storage/fileindex/FileIndexRepository.h"

#include "tests/app/storage/fileindex/FileIndexFixture.h"

#include <set>

namespace velmora {
namespace {

using test::failureOf;
using test::file;
using test::folderAt;

class FileIndexRepositoryTest : public test::FileIndexTest {};

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
    };
    for (const auto& [tree, gone] : cases) {
        for (const std::string& each : all)
            upsert({file(each)});
        deleteTree(tree);
        std::string left;
        for (const std::string& each : all)
            left += gone.contains(each) ? "" : (left.empty() ? "" : " ") + each;
        EXPECT_EQ(everything(), left) << tree;
    }
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
}

TEST_F(FileIndexRepositoryTest, KeepsRoots) {
    const auto roots = [&] { return loop.run([&] { return index.roots(); }); };
    for (const char* root : {"/z", "~/Documents", "/home/u/Documents/", "/z"})
        loop.run([&] { return index.addRoot(root); });
    ASSERT_EQ(roots().size(), 2U);
    EXPECT_EQ(roots()[0].path, "/home/u/Documents");
    upsert({file("/z/kept")});
    loop.run([&] { return index.removeRoot(roots()[1].id); });
    ASSERT_EQ(roots().size(), 1U);
    EXPECT_EQ(everything(), "/z/kept");
}

TEST_F(FileIndexRepositoryTest, RebuildsTheFullTextIndex) {
    const auto done = [&] { return loop.run([&] { return index.ftsBackfillDone(); }); };
    EXPECT_FALSE(done());
    loop.run([&] { return index.markFTSBackfillDone(); });
    EXPECT_TRUE(done());

    execute("DROP TRIGGER file_index_ai");
    execute("INSERT INTO file_index(path,name,parent) VALUES('/before','before','/')");
    EXPECT_FALSE(isSound());
    loop.run([&] { return index.rebuildFTS(); });
    EXPECT_TRUE(isSound());
    execute("DROP TABLE file_index_fts");
    EXPECT_EQ(failureOf([&] { loop.run([&] { return index.rebuildFTS(); }); }), "");
    EXPECT_FALSE(loop.run([&] { return index.mergeFTS(); }));
}

TEST_F(FileIndexRepositoryTest, MergesTheFullTextIndexToTheEnd) {
    const auto pieces = [&] { return one("SELECT COUNT(DISTINCT segid) AS c FROM file_index_fts_idx"); };
    for (int i = 0; i < 5; ++i)
        upsert({file("/name" + std::to_string(i))});
    EXPECT_NE(pieces(), "1");
    int steps = 0;
    while (loop.run([&] { return index.mergeFTS(); }) && steps < 1000)
        ++steps;
    EXPECT_LT(steps, 1000) << "it would go on forever";
    EXPECT_EQ(pieces(), "1");
}

}  // namespace
}  // namespace velmora
