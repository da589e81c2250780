#pragma once

#include "app/storage/sqlite/Checkpointer.h"
#include "app/storage/sqlite/Damage.h"
#include "app/storage/sqlite/Row.h"
#include "app/storage/sqlite/SQLValue.h"
#include "app/storage/sqlite/Statement.h"
#include "core/async/Async.h"

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace velmora {

/// The local database file.
///
/// Calls may come from any task and run on the worker pool: writes one at a time and in their order, queries one at a
/// time beside them, on a connection of their own, so that no query waits for a batch that is being written. A query
/// sees everything whose task had ended when it was asked, and a batch wholly or not at all.
/// `sql` is the fixed text of a repository: it is not copied and must stay until the task has ended, as a constant or a
/// local of the awaiting function does. Values are always bound.
///
/// Owns: the connections, closed by `close` or, failing that, with the last reference.
/// Fails with: `AppError::database`; after `close` every operation with "The database is closed.".
class Database : public std::enable_shared_from_this<Database> {
    struct Private {};

  public:
    /// Opens or creates the file at the absolute `path` and brings its schema up to date. A new file is readable by its
    /// owner only, and an existing one is made so, with what a killed process left beside it.
    [[nodiscard]] static Task<std::shared_ptr<Database>> open(std::string path, Executor pool);

    /// Use `open`.
    Database(Private, const Executor& pool, const std::string& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs one statement that returns no rows.
    [[nodiscard]] Task<> execute(std::string_view sql, std::vector<SQLValue> values = {});

    /// As `execute`, for the deletion of what should not stay behind in the write-ahead log either: empties the log
    /// when anything was deleted.
    [[nodiscard]] Task<> executeErasing(std::string_view sql, std::vector<SQLValue> values = {});

    /// Runs one statement for each entry of `rows`, all in one transaction: after a failure none of them is written.
    /// Every entry carries the same number of values. Without entries nothing happens at all.
    [[nodiscard]] Task<> executeBatch(std::string_view sql, std::vector<std::vector<SQLValue>> rows);

    /// As `execute`, with a LIKE that tells capitals from small letters. Only such a LIKE can find what begins with a
    /// text through an index that does so too, instead of reading the whole table, and on file systems where they are
    /// different names only such a LIKE is right.
    [[nodiscard]] Task<> executeMatchingCase(std::string_view sql, std::vector<SQLValue> values);

    /// What the work of a `bulkWrite` does it with.
    class Bulk {
      public:
        explicit Bulk(Database& database) : database_(database) {}

        /// Compiles a statement on the writing connection, for use within the same `bulkWrite`. `sql` is fixed text.
        [[nodiscard]] Statement prepare(std::string_view sql) const;

      private:
        Database& database_;
    };

    /// Runs `work` in one transaction while the schema's triggers are off: after a failure nothing of it is written.
    ///
    /// For batches that do the triggers' work themselves in fewer steps. A trigger makes each of its statements a
    /// savepoint, and at each savepoint the full-text index writes out what it has gathered, which takes longer than
    /// everything else. `work` runs on the pool; what it captures by reference must stay until the task has ended.
    [[nodiscard]] Task<> bulkWrite(std::function<void(const Bulk& bulk)> work);

    /// Runs one query and returns its rows in SQLite's order. Cancelling the caller interrupts the running query, which
    /// then ends as `Cancelled`. Nothing can be written with it.
    [[nodiscard]] Task<std::vector<Row>> rows(std::string_view sql, std::vector<SQLValue> values = {});

    /// As `rows`, for a query that holds its patterns against very many texts: its LIKE is several times as fast, but
    /// SQLite cannot look anything up for it.
    [[nodiscard]] Task<std::vector<Row>> rowsMatching(std::string_view sql, std::vector<SQLValue> values);

    /// As `rows`, for rows too large to hold all at once: `visit` gets each of them on the pool as soon as it is read.
    /// What it captures by reference must stay until the task has ended.
    [[nodiscard]] Task<> forEachRow(std::string_view sql, std::vector<SQLValue> values,
                                    std::function<void(Row row)> visit);

    /// What the opening told about the run before.
    [[nodiscard]] const FormerRun& formerRun() const { return formerRun_; }

    /// `callback` is called once, on any thread, when an operation first meets damage in the file; at once if one has.
    void onDamage(std::function<void()> callback);

    /// `velmora::findDamage`, on a connection of its own beside everything else.
    [[nodiscard]] Task<Damage> findDamage(bool thorough);

    /// `velmora::remakeFileIndex`, in turn with the other writes.
    [[nodiscard]] Task<> remakeFileIndex(bool wholeOtherwise);

    /// Gives back the memory that a long series of writes has gathered.
    [[nodiscard]] Task<> releaseMemory();

    /// Closes the connections once the calls before it have ended. Closing again does nothing.
    [[nodiscard]] Task<> close();

  private:
    struct Closer {
        void operator()(sqlite3* connection) const noexcept;
    };

    /// A connection and the actor that alone uses it.
    struct Connection {
        [[nodiscard]] sqlite3* get() const;

        Actor actor;
        std::unique_ptr<sqlite3, Closer> handle{};  // absent while closed
    };

    static std::unique_ptr<sqlite3, Closer> openFile(const std::string& path);
    void openForWriting();
    void openForQueries();
    [[nodiscard]] Task<> writing(std::function<void()> work);
    void noteDamage(sqlite3* connection);
    void query(std::string_view sql, const std::vector<SQLValue>& values, std::stop_token stop,
               const std::function<void(Row row)>& visit);
    void transact(const std::function<void()>& work);

    Executor pool_;
    const std::string path_;
    Checkpointer checkpointer_;
    Connection writer_;
    Connection reader_;
    FormerRun formerRun_;

    std::mutex mutex_;
    bool metDamage_ = false;          // guarded
    std::function<void()> onDamage_;  // guarded
};

}  // namespace velmora
