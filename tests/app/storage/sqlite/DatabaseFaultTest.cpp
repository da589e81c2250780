#include "app/storage/sqlite/Database.h"

#include "app/storage/sqlite/Schema.h"
#include "tests/app/storage/StorageFixture.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using Instant = std::chrono::steady_clock;

constexpr std::streamoff pageBytes = 8192;
constexpr auto insertSetting = "INSERT INTO settings(key,value) VALUES(?,?)";

class DatabaseFaultTest : public StorageTest {
  protected:
    std::string openingFailure(const std::string& file) {
        return failureOf([&] { open(file); });
    }
    static std::string contentsOf(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void fillSettings() {
        for (int i = 0; i < 200; ++i)
            execute(insertSetting, {i, std::string(500, 'v')});
    }
    static std::size_t openDescriptors() {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    }
};

TEST_F(DatabaseFaultTest, RefusesWhatCannotBeADatabaseFile) {
    using namespace std::string_literals;
    std::filesystem::create_directory(at("directory"));
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    const std::string paths[] = {
        "",
        ":memory:",
        "file:" + at("uri.sqlite"),
        at("directory"),
        at("missing/velmora.sqlite"),
        at("pipe"),
        at("nul\0byte"s),
        "/proc/velmora.sqlite",  // where not even root may create a file
    };
    for (const std::string& file : paths)
        EXPECT_EQ(openingFailure(file), "Could not open the local database.") << file;
    EXPECT_FALSE(std::filesystem::exists(at("uri.sqlite")));
    EXPECT_EQ(std::filesystem::status(at("directory")).permissions(), std::filesystem::perms(0755));
}

TEST_F(DatabaseFaultTest, ACorruptFileFailsToOpenAndNothingStaysOpen) {
    fillSettings();
    close();
    const std::string whole = contentsOf(path);
    std::string headerless = whole;
    headerless.replace(0, 16, 16, '?');
    std::string rootless = whole;
    rootless.replace(100, pageBytes - 100, pageBytes - 100, '\xff');
    const std::size_t before = openDescriptors();
    for (const std::string& content : {headerless, rootless, whole.substr(0, whole.size() / 2), whole.substr(0, 700)}) {
        const std::string damagedPath = at("damaged.sqlite");
        std::ofstream(damagedPath, std::ios::binary | std::ios::trunc) << content;
        EXPECT_EQ(openingFailure(damagedPath), "Could not migrate the local database.") << content.size();
        EXPECT_TRUE(contentsOf(damagedPath) == content) << "left for its owner to rescue";
        std::filesystem::remove(damagedPath + "-wal");
        std::filesystem::remove(damagedPath + "-shm");
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(DatabaseFaultTest, ADamagedPageFailsTheReadThatMeetsIt) {
    fillSettings();
    execute("INSERT INTO quicklinks(id,title,url_template) VALUES('q','kept','u')");
    const auto size = std::stoll(one("SELECT page_count*page_size AS c FROM pragma_page_count,pragma_page_size"));
    close();
    {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(size - 10 * pageBytes);
        file << std::string(9 * pageBytes, '\xee');
    }
    database = open(path);
    EXPECT_EQ(failureOf([&] { rows("SELECT * FROM settings"); }), "Could not read local data.");
    EXPECT_EQ(one("SELECT title AS c FROM quicklinks"), "kept");
}

TEST_F(DatabaseFaultTest, AFileLeftHalfMadeByAKilledProcessIsCompleted) {
    std::string all;
    for (const char* const migration : schema::migrations)
        all += std::string(migration) + "\n";
    std::size_t end = 0;
    int copies = 0;
    while ((end = all.find(";\n", end)) != std::string::npos) {
        end += 2;
        const std::string source = at("source" + std::to_string(copies));
        const std::string copy = at("copy" + std::to_string(copies++));
        RawConnection killed(source);
        ASSERT_EQ(killed.run(all.substr(0, end)), SQLITE_OK);
        // What a process that is killed now leaves behind: the file and its log, neither closed nor folded.
        std::filesystem::copy(source, copy);
        if (std::filesystem::exists(source + "-wal")) std::filesystem::copy(source + "-wal", copy + "-wal");
        database = open(copy);
        EXPECT_EQ(column("SELECT version AS c FROM schema_migrations"), "1\n2\n3\n") << all.substr(0, end);
        EXPECT_EQ(one("SELECT COUNT(*) AS c FROM sqlite_master WHERE type='trigger'"), "3");
    }
    EXPECT_EQ(copies, 29);
    std::ofstream(at("empty")).close();
    EXPECT_EQ(openingFailure(at("empty")), "") << "killed between creating the file and the first write";
}

TEST_F(DatabaseFaultTest, AForeignLockIsWaitedForAndThenReported) {
    RawConnection other(path);
    ASSERT_EQ(other.run("BEGIN IMMEDIATE"), SQLITE_OK);
    const auto start = Instant::now();
    EXPECT_EQ(failureOf([&] { execute(insertSetting, {"a", "b"}); }), "Could not save local data.");
    EXPECT_GE(Instant::now() - start, 2500ms);
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM settings"), "0") << "readers are never locked out";
    const std::jthread release([&] {
        std::this_thread::sleep_for(100ms);  // long enough for the write to meet the lock, which nothing shows
        EXPECT_EQ(other.run("COMMIT"), SQLITE_OK);
    });
    execute(insertSetting, {"after", "the lock"});
}

TEST_F(DatabaseFaultTest, AFullDiskFailsTheWriteAndKeepsWhatWasSaved) {
    execute(insertSetting, {"before", "kept"});
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const auto inherited = std::signal(SIGXFSZ, SIG_IGN);
    rlimit full = usual;
    full.rlim_cur = 512 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    const std::string big(1 << 20, 'x');
    const std::string writing = failureOf([&] { execute(insertSetting, {"big", big}); });
    const std::string inBatch = failureOf([&] { batch(insertSetting, {{"small", "s"}, {"big", big}}); });
    const std::string fresh = openingFailure(path);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    std::signal(SIGXFSZ, inherited);
    EXPECT_EQ(writing, "Could not save local data.");
    EXPECT_EQ(inBatch, "Could not save local data.");
    EXPECT_EQ(fresh, "") << "what is there can still be read";
    EXPECT_EQ(column("SELECT key AS c FROM settings"), "before\n");
    execute(insertSetting, {"big", big});
    EXPECT_EQ(one("SELECT integrity_check AS c FROM pragma_integrity_check"), "ok");
}

TEST_F(DatabaseFaultTest, CancellingAReadInterruptsItAndNothingElse) {
    const auto begin = [&](std::string& outcome, const std::string& limit) {
        return loop.start(outcome, [this, limit]() -> Task<std::string> {
            const auto result =
                co_await database->rows("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n " + limit +
                                        ") SELECT COUNT(*) AS c FROM n");
            co_return std::string(result.at(0).text("c").value());
        });
    };
    for (int round = 0; round < 30; ++round) {
        std::string outcome;
        std::string next;
        const TaskHandle reader = begin(outcome, "");
        const TaskHandle other = begin(next, "LIMIT 20000");
        // From before the query has begun to well into it.
        const auto until = Instant::now() + round * 1ms;
        while (Instant::now() < until)
            loop.settle();
        const auto start = Instant::now();
        reader.cancel();
        loop.until([&] { return reader.done(); });
        EXPECT_EQ(outcome, "cancelled");
        EXPECT_LT(Instant::now() - start, 2s);
        loop.until([&] { return other.done(); });
        EXPECT_EQ(next, "20000");
    }
}

TEST_F(DatabaseFaultTest, TheConnectionOutlivesACallWhoseOwnerHasGone) {
    const TaskHandle reader = spawn(loop.executor(), [this]() -> Task<> {
        const auto result = co_await database->rows("SELECT 1 AS c");
        EXPECT_EQ(result.size(), 1U);
    });
    loop.settle();
    database.reset();
    loop.until([&] { return reader.done(); });
}

}  // namespace
}  // namespace velmora::test
