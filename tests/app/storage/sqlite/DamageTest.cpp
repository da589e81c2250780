#include "app/storage/sqlite/Damage.h"

#include "tests/app/storage/StorageFixture.h"

#include <fstream>

namespace velmora::test {
namespace {

constexpr std::streamoff pageBytes = 8192;
constexpr auto insertFile = "INSERT INTO file_index(path,name,parent) VALUES(?,?,'/')";

class DamageTest : public StorageTest {
  protected:
    void fill() {
        std::vector<Values> files;
        for (int i = 0; i < 3000; ++i)
            files.push_back({"/" + std::to_string(i), "name " + std::to_string(i)});
        batch(insertFile, files);
        for (int i = 0; i < 30; ++i)
            execute("INSERT INTO clipboard_history(id,content,kind,created_at) VALUES(?,?,'text',0)",
                    {i, std::string(900, 'c') + std::to_string(i)});
        execute("INSERT INTO quicklinks(id,title,url_template) VALUES('q','kept','u')");
        execute("INSERT INTO settings(key,value) VALUES('fileIndex.lastEventID','7'),('preferences','{}')");
    }
    void overwritePage(const std::string& file, std::int64_t page) {
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        stream.seekp((page - 1) * pageBytes);
        stream << std::string(pageBytes, '\xee');
    }
    Damage find(bool thorough = true) {
        return loop.run([&] { return database->findDamage(thorough); });
    }
    void remake(bool wholeOtherwise) {
        loop.run([&] { return database->remakeFileIndex(wholeOtherwise); });
    }
    std::string matches() { return one("SELECT COUNT(*) AS c FROM file_index_fts WHERE file_index_fts MATCH 'name'"); }
};

TEST_F(DamageTest, IsFoundWhereItIsAndTheFileIndexIsMadeAnew) {
    using Tables = std::set<std::string>;
    struct Case {
        std::string statements;   // of another program
        std::string overwritten;  // the table or index whose first page is
        Damage lost;
        Damage found;
    };
    const Case cases[] = {
        {"", "", {}, {}},
        {"", "file_index", {}, {true, {}}},
        {"", "sqlite_autoindex_file_index_1", {}, {true, {}}},
        {"", "file_index_fts_data", {}, {true, {}}},
        {"", "clipboard_history", {}, {false, Tables{"clipboard_history"}}},
        {"", "sqlite_autoindex_clipboard_history_2", {}, {false, Tables{"clipboard_history"}}},
        {"DROP TABLE file_index_fts", "", {true, {}}, {}},
        {"DROP TRIGGER file_index_ai", "", {true, {}}, {}},
        {"DROP INDEX clipboard_date", "", {}, {}},
        {"DROP TABLE quicklinks", "", {false, Tables{"quicklinks"}}, {}},
        {"ALTER TABLE file_index ADD COLUMN more", "", {}, {true, {}}},
        {"ALTER TABLE settings RENAME COLUMN value TO other", "file_index", {}, {true, Tables{"settings"}}},
    };
    const auto expect = [](const Damage& damage, const Damage& expected) {
        EXPECT_EQ(damage.fileIndex, expected.fileIndex);
        EXPECT_EQ(damage.tables, expected.tables);
    };
    fill();
    close();
    for (const auto& [statements, overwritten, lost, found] : cases) {
        SCOPED_TRACE(statements + " " + overwritten);
        const std::string file = at("damaged.sqlite");
        std::filesystem::copy_file(path, file, std::filesystem::copy_options::overwrite_existing);
        database = open(file);
        const std::string page =
            overwritten.empty() ? "0" : one("SELECT rootpage AS c FROM sqlite_schema WHERE name=?", {overwritten});
        close();
        EXPECT_EQ(RawConnection(file).run(statements), SQLITE_OK);
        if (!overwritten.empty()) overwritePage(file, std::stoll(page));
        database = open(file);
        expect(database->formerRun().lost, lost);
        expect(find(), found);
        expect(find(false), {found.fileIndex && !statements.empty() && overwritten.empty(), found.tables});
        remake(found.tables.empty());
        expect(find(), {false, found.tables});
        EXPECT_EQ(matches(), "0");
        execute(insertFile, {"/x", "a name"});
        EXPECT_EQ(matches(), "1");
        EXPECT_EQ(column("SELECT title AS c FROM quicklinks"), lost.tables.empty() ? "kept\n" : "");
        if (found.tables.empty()) {
            EXPECT_EQ(column("SELECT key AS c FROM settings"), "preferences\n");
        }
        close();
    }
}

TEST_F(DamageTest, AmongThePagesNotInUseIsMetAndMended) {
    fill();
    execute("DELETE FROM file_index");
    close();
    std::ifstream header(path, std::ios::binary);
    header.seekg(32);
    std::int64_t firstFree = 0;
    for (int i = 0; i < 4; ++i)
        firstFree = firstFree * 256 + header.get();
    ASSERT_GT(firstFree, 0);
    overwritePage(path, firstFree);
    database = open(path);
    int met = 0;
    database->onDamage([&met] { ++met; });
    EXPECT_FALSE(find().any());
    const std::string large(500'000, 'x');
    for (const char* const key : {"a", "b"})
        EXPECT_NE(failureOf([&] { execute("INSERT INTO settings(key,value) VALUES(?,?)", {key, large}); }), "");
    EXPECT_EQ(met, 1);
    database->onDamage([&met] { ++met; });
    EXPECT_EQ(met, 2) << "at once, when it has been met before";
    remake(true);
    execute("INSERT INTO settings(key,value) VALUES('large',?)", {large});
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM clipboard_history"), "30");
    EXPECT_EQ(one("SELECT integrity_check AS c FROM pragma_integrity_check"), "ok");
}

TEST_F(DamageTest, OpeningTellsHowTheFormerRunEnded) {
    EXPECT_TRUE(database->formerRun().endedCleanly);
    EXPECT_FALSE(database->formerRun().leftNothing);
    const auto second = open(path);  // as after a kill: the log is there
    EXPECT_FALSE(second->formerRun().endedCleanly);
    loop.run([&] { return second->close(); });
    close();
    EXPECT_TRUE(open(path)->formerRun().endedCleanly);
    std::ofstream(at("emptied.sqlite")).close();
    EXPECT_TRUE(open(at("emptied.sqlite"))->formerRun().leftNothing);
}

}  // namespace
}  // namespace velmora::test
