#include "app/storage/sqlite/Damage.h"

#include "app/log/AppLog.h"
#include "app/storage/sqlite/Schema.h"
#include "app/storage/sqlite/Statement.h"

#include <sqlite3.h>

#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {
namespace {

struct Closer {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close_v2(connection); }
};

/// Which table something of the schema belongs to, and the statement that makes it.
struct Entry {
    std::string table;
    std::string sql;

    bool operator==(const Entry&) const = default;
};

using Entries = std::map<std::string, Entry, std::less<>>;

Entries schemaOf(sqlite3* connection) {
    Statement statement(connection, "SELECT name,tbl_name,sql FROM sqlite_schema WHERE sql IS NOT NULL");
    Entries entries;
    while (const auto row = statement.next()) {
        entries[std::string(row->text("name").value_or(""))] = {std::string(row->text("tbl_name").value_or("")),
                                                                std::string(row->text("sql").value_or(""))};
    }
    return entries;
}

/// What the schema's statements make of an empty file.
const Entries& wholeSchema() {
    static const Entries whole = [] {
        sqlite3* opened = nullptr;
        const int code = sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE, nullptr);
        const std::unique_ptr<sqlite3, Closer> closing(opened);
        if (code != SQLITE_OK || !schema::bringUpToDate(opened))
            throw databaseFailure("Could not configure the local database.", opened);
        return schemaOf(opened);
    }();
    return whole;
}

/// The full-text index keeps its pages in tables of its own.
bool isFileIndex(std::string_view table) {
    return table == "file_index" || table == "file_index_fts" || table.starts_with("file_index_fts_");
}

void note(Damage& damage, const std::string& table) {
    if (isFileIndex(table)) {
        damage.fileIndex = true;
    } else {
        damage.tables.insert(table);
    }
}

bool isWhole(sqlite3* connection, const std::string& table, bool withIndexes) {
    static constexpr auto reading = "SELECT quick_check AS c FROM pragma_quick_check(?)";
    static constexpr auto comparing = "SELECT integrity_check AS c FROM pragma_integrity_check(?)";
    try {
        Statement check(connection, withIndexes ? comparing : reading);
        check.bind({table});
        const auto first = check.first();
        return first && first->text("c") == "ok";
    } catch (const AppError&) {
        if (!metDamage(connection)) throw;
        return false;
    }
}

bool run(sqlite3* connection, const char* sql) {
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void require(sqlite3* connection, const char* sql) {
    if (!run(connection, sql)) throw databaseFailure("Could not save local data.", connection);
}

/// While it lives, the schema can be written like a table; at its end the connection reads it anew.
class WritableSchema {
  public:
    explicit WritableSchema(sqlite3* connection) : connection_(connection) {
        require(connection, "PRAGMA writable_schema=ON");
    }
    ~WritableSchema() { run(connection_, "PRAGMA writable_schema=RESET"); }
    WritableSchema(const WritableSchema&) = delete;
    WritableSchema& operator=(const WritableSchema&) = delete;

  private:
    sqlite3* connection_;
};

}  // namespace

bool metDamage(sqlite3* connection) {
    const int code = sqlite3_errcode(connection) & 0xFF;
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

Damage findLoss(sqlite3* connection) {
    Statement version(connection, "SELECT user_version FROM pragma_user_version");
    const auto row = version.first();
    Damage lost;
    // A file that was never finished is completed, and has lost nothing.
    if (!row || row->integer("user_version").value_or(0) < schema::version) return lost;
    const Entries entries = schemaOf(connection);
    for (const auto& [name, entry] : wholeSchema()) {
        // An index of another table is made anew from it.
        const bool matters = name == entry.table || isFileIndex(entry.table);
        if (matters && !entries.contains(name)) note(lost, entry.table);
    }
    return lost;
}

Damage findDamage(sqlite3* connection, bool thorough) {
    Damage damage;
    const Entries entries = schemaOf(connection);
    for (const auto& [name, entry] : wholeSchema()) {
        const auto found = entries.find(name);
        if (found == entries.end() || found->second != entry) note(damage, entry.table);
    }
    for (const auto& [name, entry] : entries) {
        const bool hasPages = name == entry.table && !entry.sql.starts_with("CREATE VIRTUAL");
        if (!hasPages || (!thorough && isFileIndex(name))) continue;
        if (!isWhole(connection, name, thorough)) note(damage, name);
    }
    return damage;
}

void remakeFileIndex(sqlite3* connection, bool wholeOtherwise) {
    // What is kept about the index goes first: a start in between scans anew.
    run(connection, "DELETE FROM settings WHERE key GLOB 'fileIndex.*'");
    {
        const WritableSchema writable(connection);
        require(connection,
                "DELETE FROM sqlite_schema WHERE tbl_name IN ('file_index','file_index_fts') "
                "OR tbl_name GLOB 'file_index_fts_*'");
    }
    // Before anything is written: also the list of pages not in use may be damaged. In memory: copied texts must not
    // pass through a file elsewhere.
    if (wholeOtherwise) {
        run(connection, "PRAGMA temp_store=MEMORY");
        const bool copied = run(connection, "VACUUM");
        run(connection, "PRAGMA temp_store=DEFAULT");
        // As on a full disk: then the old pages stay in the file, unused.
        if (!copied) AppLog::database.error("The database file could not be made anew");
    }
    if (!schema::bringUpToDate(connection)) throw databaseFailure("Could not migrate the local database.", connection);
}

}  // namespace velmora
