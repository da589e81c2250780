#include "app/storage/sqlite/Database.h"

#include "app/storage/sqlite/Interruption.h"
#include "app/storage/sqlite/PrivateFiles.h"
#include "app/storage/sqlite/Schema.h"
#include "app/storage/sqlite/Statement.h"
#include "app/storage/sqlite/TextFunctions.h"
#include "core/Assert.h"
#include "platform/Runtime.h"

#include <sqlite3.h>

#include <filesystem>
#include <stop_token>
#include <utility>

namespace velmora {
namespace {

constexpr auto cannotOpen = "Could not open the local database.";
constexpr auto cannotMigrate = "Could not migrate the local database.";
constexpr auto cannotConfigure = "Could not configure the local database.";
constexpr int openFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
constexpr int busyTimeoutMilliseconds = 3000;

bool run(sqlite3* connection, const char* sql) {
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// While it lives, the schema's triggers do not fire. Statements compiled before its end compile anew after it.
class TriggersOff {
  public:
    explicit TriggersOff(sqlite3* connection) : connection_(connection) { set(0); }
    ~TriggersOff() { set(1); }
    TriggersOff(const TriggersOff&) = delete;
    TriggersOff& operator=(const TriggersOff&) = delete;

  private:
    void set(int on) { sqlite3_db_config(connection_, SQLITE_DBCONFIG_ENABLE_TRIGGER, on, nullptr); }

    sqlite3* connection_;
};

/// While it lives, LIKE tells capitals from small letters.
class CaseSensitiveLike {
  public:
    explicit CaseSensitiveLike(sqlite3* connection) : connection_(connection) {
        if (!run(connection_, "PRAGMA case_sensitive_like=ON")) {
            throw databaseFailure("The database query could not be prepared.", connection_);
        }
    }
    ~CaseSensitiveLike() { run(connection_, "PRAGMA case_sensitive_like=OFF"); }
    CaseSensitiveLike(const CaseSensitiveLike&) = delete;
    CaseSensitiveLike& operator=(const CaseSensitiveLike&) = delete;

  private:
    sqlite3* connection_;
};

}  // namespace

void Database::Closer::operator()(sqlite3* connection) const noexcept {
    sqlite3_close_v2(connection);
}

Database::Database(Private, const Executor& pool, const std::string& path)
    : pool_(pool), path_(path), checkpointer_(pool, path), writer_{Actor(pool)}, reader_{Actor(pool)} {}

Database::~Database() = default;

Task<std::shared_ptr<Database>> Database::open(std::string path, Executor pool) {
    const auto database = std::make_shared<Database>(Private{}, pool, path);
    const auto forWriting = [&] { database->openForWriting(); };
    const auto forQueries = [&] { database->openForQueries(); };
    co_await database->writer_.actor.run(forWriting);
    co_await database->reader_.actor.run(forQueries);
    co_return database;
}

Task<> Database::execute(std::string_view sql, std::vector<SQLValue> values) {
    const auto work = [&] {
        Statement statement(writer_.get(), sql);
        statement.bind(values);
        statement.execute();
    };
    co_await writing(work);
}

Task<> Database::executeErasing(std::string_view sql, std::vector<SQLValue> values) {
    const auto work = [&] {
        Statement statement(writer_.get(), sql);
        statement.bind(values);
        statement.execute();
        if (sqlite3_changes(writer_.get()) == 0) return;
        // Best effort: while another program reads from the log, it stays until the next time.
        sqlite3_wal_checkpoint_v2(writer_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    };
    co_await writing(work);
}

Task<> Database::executeBatch(std::string_view sql, std::vector<std::vector<SQLValue>> rows) {
    if (rows.empty()) co_return;
    const auto work = [&] {
        transact([&] {
            Statement statement(writer_.get(), sql);
            for (const auto& values : rows) {
                statement.bind(values);
                statement.execute();
            }
        });
    };
    co_await writing(work);
}

Task<> Database::executeMatchingCase(std::string_view sql, std::vector<SQLValue> values) {
    const auto work = [&] {
        const CaseSensitiveLike sensitive(writer_.get());
        Statement statement(writer_.get(), sql);
        statement.bind(values);
        statement.execute();
    };
    co_await writing(work);
}

Statement Database::Bulk::prepare(std::string_view sql) const {
    return {database_.writer_.get(), sql};
}

Task<> Database::bulkWrite(std::function<void(const Bulk& bulk)> work) {
    const auto transaction = [&] {
        const TriggersOff off(writer_.get());
        transact([&] { work(Bulk(*this)); });
    };
    co_await writing(transaction);
}

Task<std::vector<Row>> Database::rows(std::string_view sql, std::vector<SQLValue> values) {
    std::vector<Row> result;
    const std::function<void(Row)> keep = [&result](Row row) { result.push_back(std::move(row)); };
    co_await forEachRow(sql, std::move(values), keep);
    co_return result;
}

Task<std::vector<Row>> Database::rowsMatching(std::string_view sql, std::vector<SQLValue> values) {
    const auto self = shared_from_this();
    std::vector<Row> result;
    const auto work = [&](std::stop_token stop) {
        const FasterLike faster(reader_.get());
        query(sql, values, std::move(stop), [&result](Row row) { result.push_back(std::move(row)); });
    };
    co_await reader_.actor.run(work);
    co_return result;
}

Task<> Database::forEachRow(std::string_view sql, std::vector<SQLValue> values, std::function<void(Row row)> visit) {
    const auto self = shared_from_this();
    const auto work = [&](std::stop_token stop) { query(sql, values, std::move(stop), visit); };
    co_await reader_.actor.run(work);
}

Task<> Database::releaseMemory() {
    const auto work = [&] {
        sqlite3_db_release_memory(writer_.get());
        returnFreeMemory();
    };
    co_await writing(work);
}

Task<> Database::close() {
    const auto self = shared_from_this();
    const auto endQueries = [&] { reader_.handle.reset(); };
    const auto endWriting = [&] { writer_.handle.reset(); };
    co_await reader_.actor.run(endQueries);
    co_await checkpointer_.close();
    // The last, which takes the write-ahead log along.
    co_await writer_.actor.run(endWriting);
}

sqlite3* Database::Connection::get() const {
    VELMORA_ASSERT(actor.isRunningHere());
    if (!handle) throw AppError::database("The database is closed.");
    return handle.get();
}

std::unique_ptr<sqlite3, Database::Closer> Database::openFile(const std::string& path) {
    // Only before the library is first used, and refused afterwards: nobody asks SQLite how much memory it has, and
    // counting it costs a lock at every allocation.
    static const int counting = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(counting);
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &opened, openFlags, nullptr);
    // SQLite hands out a connection even when it fails; kept here, it is closed whatever happens next.
    std::unique_ptr<sqlite3, Closer> handle(opened);
    if (code != SQLITE_OK) throw databaseFailure(cannotOpen, opened);
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    return handle;
}

void Database::openForWriting() {
    // The last connection that is closed takes the log along, so that one that is there was left by a killed process.
    std::error_code absent;
    formerRun_.endedCleanly = !std::filesystem::exists(path_ + "-wal", absent);
    const PrivateFile file = makePrivateFile(path_);
    if (file == PrivateFile::refused) throw databaseFailure(cannotOpen, nullptr);
    formerRun_.leftNothing = file == PrivateFile::found && std::filesystem::is_empty(path_, absent);
    auto handle = openFile(path_);
    try {
        if (file == PrivateFile::found) formerRun_.lost = findLoss(handle.get());
        if (!schema::bringUpToDate(handle.get())) throw databaseFailure(cannotMigrate, handle.get());
    } catch (const AppError&) {
        handle.reset();
        // What could not be begun is not to be taken for a file that has lost everything.
        if (file == PrivateFile::made && std::filesystem::is_empty(path_, absent)) {
            std::filesystem::remove(path_, absent);
        }
        throw AppError::database(cannotMigrate);
    }
    if (!run(handle.get(), schema::configuration)) throw databaseFailure(cannotConfigure, handle.get());
    checkpointer_.follow(handle.get());
    writer_.handle = std::move(handle);
}

void Database::openForQueries() {
    auto handle = openFile(path_);
    replaceTextFunctions(handle.get());
    if (!run(handle.get(), schema::queriesOnly)) throw databaseFailure(cannotConfigure, handle.get());
    reader_.handle = std::move(handle);
}

Task<> Database::writing(std::function<void()> work) {
    const auto self = shared_from_this();
    const auto watched = [&] {
        try {
            work();
        } catch (const AppError&) {
            noteDamage(writer_.handle.get());
            throw;
        }
    };
    co_await writer_.actor.run(watched);
}

void Database::query(std::string_view sql, const std::vector<SQLValue>& values, std::stop_token stop,
                     const std::function<void(Row row)>& visit) {
    const Interruption interruption(reader_.get(), std::move(stop));
    try {
        Statement statement(reader_.get(), sql);
        statement.bind(values);
        while (auto row = statement.next())
            visit(*std::move(row));
    } catch (const AppError&) {
        noteDamage(reader_.get());
        throw;
    }
}

void Database::transact(const std::function<void()>& work) {
    constexpr auto notSaved = "Could not save local data.";
    sqlite3* const open = writer_.get();
    if (!run(open, "BEGIN IMMEDIATE")) throw databaseFailure(notSaved, open);
    try {
        work();
        if (!run(open, "COMMIT")) throw databaseFailure(notSaved, open);
    } catch (...) {
        noteDamage(open);  // before the rollback forgets it
        run(open, "ROLLBACK");
        throw;
    }
}

}  // namespace velmora
