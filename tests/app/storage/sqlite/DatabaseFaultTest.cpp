#include "app/storage/sqlite/Database.h"

#include "app/storage/sqlite/Schema.h"
#include "tests/app/storage/StorageFixture.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
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
constexpr auto endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT COUNT(*) AS c FROM n";

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
    std::ofstream(at("file")) << "text";
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    const std::string paths[] = {
        "",
        ":memory:",
        "relative.sqlite",
        "file:" + at("uri.sqlite"),
        at("directory"),
        at("missing/velmora.sqlite"),
        at("file/velmora.sqlite"),
        at("pipe"),
        at("nul\0byte"s),
        at(std::string(5000, 'x')),
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
    const std::string damaged[] = {headerless,
                                   rootless,
                                   whole.substr(0, whole.size() / 2),
                                   whole.substr(0, pageBytes),
                                   whole.substr(0, 700),
                                   std::string(10'000, 'g')};
    const std::size_t before = openDescriptors();
    for (const std::string& content : damaged) {
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
    std::string writing = "pending";
    std::string opening = "pending";
    const auto report = [](std::string& into, const std::function<Task<>()>& call) -> Task<> {
        try {
            co_await call();
            into = "";
        } catch (const AppError& error) {
            into = error.what();
        }
    };
    const std::function<Task<>()> write = [&] { return database->execute(insertSetting, {"a", "b"}); };
    const std::function<Task<>()> openAgain = [&]() -> Task<> { co_await Database::open(path, pool.executor()); };
    const auto start = Instant::now();
    spawn(loop.executor(), [&] { return report(writing, write); });
    spawn(loop.executor(), [&] { return report(opening, openAgain); });
    loop.until([&] { return writing != "pending" && opening != "pending"; });
    const auto waited = Instant::now() - start;
    EXPECT_EQ(writing, "Could not save local data.");
    EXPECT_EQ(opening, "Could not migrate the local database.");
    EXPECT_GE(waited, 2500ms);
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
    for (int round = 0; round < 30; ++round) {
        std::string outcome;
        const TaskHandle reader = spawn(loop.executor(), [&]() -> Task<> {
            try {
                const auto result = co_await database->rows(endless);
                outcome = "an endless query ended";
            } catch (const Cancelled&) {
                outcome = "cancelled";
            }
        });
        std::string next;
        spawn(loop.executor(), [&]() -> Task<> {
            const auto result = co_await database->rows(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 20000) SELECT COUNT(*) AS c FROM "
                "n");
            next = result.at(0).text("c").value();
        });
        // From before the query has begun to well into it.
        const auto until = Instant::now() + round * 1ms;
        while (Instant::now() < until)
            loop.settle();
        const auto start = Instant::now();
        reader.cancel();
        loop.until([&] { return reader.done(); });
        const auto took = Instant::now() - start;
        EXPECT_EQ(outcome, "cancelled");
        EXPECT_LT(took, 2s);
        loop.until([&] { return !next.empty(); });
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
