#include "app/storage/sqlite/Database.h"

#include "tests/app/storage/StorageFixture.h"

#include <sys/stat.h>

#include <latch>

namespace velmora::test {
namespace {

constexpr auto insertSetting = "INSERT INTO settings(key,value) VALUES(?,?)";

class DatabaseTest : public StorageTest {};

TEST_F(DatabaseTest, OnlyTheOwnerMayReadTheFiles) {
    const auto mode = [](const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0) << file;
        return status.st_mode & 0777U;
    };
    const std::string fresh = at("fresh.sqlite");
    const std::string loose = at("loose.sqlite");
    const mode_t mask = umask(0);
    RawConnection killed(loose);  // which leaves its side files behind
    EXPECT_EQ(killed.run("PRAGMA journal_mode=WAL; CREATE TABLE t(x)"), SQLITE_OK);
    EXPECT_EQ(mode(loose + "-wal"), 0644U) << "what SQLite would do by itself";
    for (const std::string& file : {fresh, loose}) {
        database = open(file);
        execute(insertSetting, {"a", "b"});
        for (const char* suffix : {"", "-wal", "-shm"})
            EXPECT_EQ(mode(file + suffix), 0600U) << file << suffix;
    }
    umask(mask);
}

TEST_F(DatabaseTest, ReadsEveryColumnAsText) {
    execute("INSERT INTO file_index(path,name,parent,is_directory,size,modified) VALUES('/a','a','/',?,?,?)",
            {true, std::int64_t{1} << 53, timeFromSeconds(1.5e9)});
    const auto all = rows(
        "SELECT *, ? AS absent, ? AS text, ? AS none, '' AS empty, 1 AS twin, 2 AS twin, NULL AS twin "
        "FROM file_index",
        {std::optional<std::string>(), std::optional<std::string>("x"), nullptr});
    const std::pair<const char*, const char*> cases[] = {
        {"is_directory", "1"}, {"size", "9007199254740992"}, {"modified", "1500000000.0"}, {"text", "x"}, {"empty", ""},
        {"twin", "2"}};
    for (const auto& [name, text] : cases)
        EXPECT_EQ(all.at(0).text(name), text) << name;
    EXPECT_FALSE(all[0].text("absent") || all[0].text("none") || all[0].text("unknown"));
}

TEST_F(DatabaseTest, RowsConvertStrictly) {
    const std::tuple<std::string, std::optional<std::int64_t>, std::optional<double>> cases[] = {
        {"+42", 42, 42},  {"", {}, {}},    {" 1", {}, {}},    {"+-1", {}, {}},
        {"1.5", {}, 1.5}, {"nan", {}, {}}, {"1e999", {}, {}}, {"9223372036854775808", {}, 9223372036854775808.0},
    };
    for (const auto& [text, integer, number] : cases) {
        const auto row = rows("SELECT ? AS c", {text});
        EXPECT_EQ(row[0].integer("c"), integer) << text;
        EXPECT_EQ(row[0].number("c"), number) << text;
    }
}

TEST_F(DatabaseTest, ABatchIsWrittenWhollyOrNotAtAll) {
    constexpr auto saved = "SELECT key AS c FROM settings ORDER BY key";
    batch(insertSetting, {{"a", "1"}, {"b", "2"}, {"c", "3"}});
    EXPECT_EQ(column(saved), "a\nb\nc\n");
    const struct {
        const char* sql;
        std::vector<Values> entries;
        const char* sentence;
    } cases[] = {
        {insertSetting, {{"d", "4"}, {"a", "twice"}, {"e", "5"}}, "Could not save local data."},
        {insertSetting, {{"d", "4"}, {"e", "5", "6"}}, "Could not bind database values."},
        {"COMMIT", {{}}, "Could not save local data."},
        {"-- nothing", {{}}, "The database query could not be prepared."},
    };
    for (const auto& [sql, entries, sentence] : cases) {
        EXPECT_EQ(failureOf([&] { batch(sql, entries); }), sentence) << sql;
        EXPECT_EQ(column(saved), "a\nb\nc\n") << sql;
    }
    execute(insertSetting, {"d", "4"});
    EXPECT_EQ(column(saved), "a\nb\nc\nd\n") << "a failed batch leaves no transaction behind";
}

TEST_F(DatabaseTest, QueriesDoNotWaitForABatchAndDoNotSeeHalfOfIt) {
    std::latch begun(1);
    std::latch read(1);
    const std::function<void(const Database::Bulk&)> work = [&](const Database::Bulk& bulk) {
        Statement insert = bulk.prepare(insertSetting);
        insert.bind({"b", "2"});
        insert.execute();
        begun.count_down();
        read.wait();
    };
    batch(insertSetting, {{"a", "1"}});
    const TaskHandle writing = spawn(loop.executor(), [&] { return database->bulkWrite(work); });
    loop.settle();
    begun.wait();
    EXPECT_EQ(column("SELECT key AS c FROM settings"), "a\n");
    read.count_down();
    loop.until([&] { return writing.done(); });
    EXPECT_EQ(column("SELECT key AS c FROM settings ORDER BY key"), "a\nb\n");
}

TEST_F(DatabaseTest, TheLogIsCopiedInTheBackground) {
    // When to copy is counted in pages; the smallest ones keep this from writing hundreds of megabytes.
    const std::string file = at("small-pages.sqlite");
    EXPECT_EQ(RawConnection(file).run("PRAGMA page_size=512; CREATE TABLE t(x)"), SQLITE_OK);
    database = open(file);
    constexpr std::size_t batchBytes = 500'000;
    constexpr std::size_t batches = 60;
    const std::string log = file + "-wal";
    for (std::size_t i = 0; i < batches; ++i) {
        batch(insertSetting, {{std::to_string(i), std::string(batchBytes, 'x')}});
        EXPECT_LT(std::filesystem::file_size(log), batches * batchBytes / 2) << "it would grow forever";
    }
    EXPECT_GT(std::filesystem::file_size(file), batchBytes) << "nothing was copied";
    close();
    EXPECT_GT(std::filesystem::file_size(file), batches * batchBytes);
    EXPECT_FALSE(std::filesystem::exists(log)) << "the last connection takes it along";
}

TEST_F(DatabaseTest, CloseWaitsForWhatCameBeforeAndRefusesWhatComesAfter) {
    int ended = 0;
    const std::function<Task<>()> write = [&]() -> Task<> {
        co_await database->execute("INSERT INTO settings(key,value) VALUES(hex(randomblob(8)),'')");
        ++ended;
    };
    for (int i = 0; i < 20; ++i)
        spawn(loop.executor(), write);
    close();
    EXPECT_EQ(ended, 20);
    close();
    constexpr auto closed = "The database is closed.";
    EXPECT_EQ(failureOf([&] { execute("SELECT 1"); }), closed);
    EXPECT_EQ(failureOf([&] { rows("SELECT 1"); }), closed);
    EXPECT_EQ(failureOf([&] { batch(insertSetting, {{"a", "b"}}); }), closed);
    database = open(path);
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM settings"), "20");
}

}  // namespace
}  // namespace velmora::test
