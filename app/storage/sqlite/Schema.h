#pragma once

#include <array>

struct sqlite3;

/// The whole schema of the database file. Every statement is idempotent: all of them run on every open, so that a file
/// left half-made by a killed process is completed by the next. What they make is compared with what a file has, to the
/// letter: a statement that has been in use is not reworded.
namespace velmora::schema {

/// Holds for a file that is still empty; any other keeps the size it was made with. Twice the usual size: searches that
/// read whole tables take half as many reads, and two clipboard entries that do not fit one page fit one together.
inline constexpr const char* pageSize = "PRAGMA page_size=8192;";

/// What the last migration makes the file's user version.
inline constexpr int version = 3;

/// Each runs as one piece; a failure ends the opening.
inline constexpr std::array migrations{
    "PRAGMA journal_mode=WAL;\n"
    "PRAGMA foreign_keys=ON;\n"
    "BEGIN IMMEDIATE;\n"
    "CREATE TABLE IF NOT EXISTS schema_migrations(version INTEGER PRIMARY KEY);\n"
    "CREATE TABLE IF NOT EXISTS command_usage(id TEXT PRIMARY KEY, count INTEGER NOT NULL DEFAULT 0, "
    "last_used REAL NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS clipboard_history(id TEXT PRIMARY KEY, content TEXT NOT NULL UNIQUE, "
    "kind TEXT NOT NULL, created_at REAL NOT NULL, source_app TEXT);\n"
    "CREATE INDEX IF NOT EXISTS clipboard_date ON clipboard_history(created_at DESC);\n"
    "CREATE TABLE IF NOT EXISTS settings(key TEXT PRIMARY KEY, value TEXT NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS quicklinks(id TEXT PRIMARY KEY, title TEXT NOT NULL, url_template TEXT NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS extensions(id TEXT PRIMARY KEY, manifest TEXT NOT NULL, "
    "enabled INTEGER NOT NULL DEFAULT 0);\n"
    "CREATE TABLE IF NOT EXISTS agents(id TEXT PRIMARY KEY, configuration TEXT NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS skills(id TEXT PRIMARY KEY, name TEXT NOT NULL, path TEXT NOT NULL, "
    "description TEXT NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS mcp_servers(id TEXT PRIMARY KEY, configuration TEXT NOT NULL);\n"
    "CREATE TABLE IF NOT EXISTS conversations(id TEXT PRIMARY KEY, messages TEXT NOT NULL, "
    "updated_at REAL NOT NULL);\n"
    "INSERT OR IGNORE INTO schema_migrations(version) VALUES(1);\n"
    "PRAGMA user_version=1;\n"
    "COMMIT;",

    "BEGIN IMMEDIATE;\n"
    "CREATE TABLE IF NOT EXISTS file_index(path TEXT PRIMARY KEY, name TEXT NOT NULL, parent TEXT NOT NULL, "
    "is_directory INTEGER NOT NULL DEFAULT 0, size INTEGER NOT NULL DEFAULT 0, modified REAL NOT NULL DEFAULT 0);\n"
    "CREATE INDEX IF NOT EXISTS file_index_name ON file_index(name COLLATE NOCASE);\n"
    "CREATE TABLE IF NOT EXISTS index_roots(id TEXT PRIMARY KEY, path TEXT NOT NULL, added_at REAL NOT NULL);\n"
    "INSERT OR IGNORE INTO schema_migrations(version) VALUES(2);\n"
    "PRAGMA user_version=2;\n"
    "COMMIT;",

    "BEGIN IMMEDIATE;\n"
    "CREATE TABLE IF NOT EXISTS app_launches(app_path TEXT NOT NULL, arguments TEXT NOT NULL, "
    "count INTEGER NOT NULL DEFAULT 1, last_used REAL NOT NULL, PRIMARY KEY(app_path, arguments));\n"
    "INSERT OR IGNORE INTO schema_migrations(version) VALUES(3);\n"
    "PRAGMA user_version=3;\n"
    "COMMIT;",
};

/// Run one by one after the migrations; their failures are ignored, so that an SQLite without FTS5 still opens.
inline constexpr std::array fullText{
    "CREATE VIRTUAL TABLE IF NOT EXISTS file_index_fts USING fts5(name, content='file_index', "
    "content_rowid='rowid', tokenize='trigram');",
    "CREATE INDEX IF NOT EXISTS file_index_parent ON file_index(parent);",
    "CREATE TRIGGER IF NOT EXISTS file_index_ai AFTER INSERT ON file_index BEGIN "
    "INSERT INTO file_index_fts(rowid, name) VALUES (new.rowid, new.name); END;",
    "CREATE TRIGGER IF NOT EXISTS file_index_ad AFTER DELETE ON file_index BEGIN "
    "INSERT INTO file_index_fts(file_index_fts, rowid, name) VALUES('delete', old.rowid, old.name); END;",
    "CREATE TRIGGER IF NOT EXISTS file_index_au AFTER UPDATE OF name ON file_index BEGIN "
    "INSERT INTO file_index_fts(file_index_fts, rowid, name) VALUES('delete', old.rowid, old.name); "
    "INSERT INTO file_index_fts(rowid, name) VALUES (new.rowid, new.name); END;",
};

/// What makes the same statements faster, run one by one; their failures are ignored. docs/benchmarks.md has the gain
/// of each.
inline constexpr std::array tuning{
    // A checkpoint that a reader of another program held up would leave a large side file behind for good.
    "PRAGMA journal_size_limit=33554432;",
    // How many pieces of the full-text index may pile up before they are merged: four times the usual numbers. Kept in
    // the file; asked for first, so that opening writes nothing.
    "INSERT INTO file_index_fts(file_index_fts,rank) SELECT 'automerge',16 "
    "WHERE NOT EXISTS(SELECT 1 FROM file_index_fts_config WHERE k='automerge' AND v=16);",
    "INSERT INTO file_index_fts(file_index_fts,rank) SELECT 'crisismerge',64 "
    "WHERE NOT EXISTS(SELECT 1 FROM file_index_fts_config WHERE k='crisismerge' AND v=64);",
};

/// Runs all of the above. False when a migration fails.
[[nodiscard]] bool bringUpToDate(sqlite3* connection);

inline constexpr const char* configuration = "PRAGMA synchronous=NORMAL;";

/// For the connection that queries run on.
inline constexpr const char* queriesOnly = "PRAGMA query_only=ON;";

}  // namespace velmora::schema
