#include "app/storage/fileindex/FileIndexRepository.h"

#include "app/storage/fileindex/FileIndexBatch.h"
#include "app/storage/fileindex/FileIndexQuery.h"
#include "core/files/SkipRule.h"
#include "core/text/UUID.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

namespace velmora {
namespace {

std::vector<IndexedFile> filesIn(const std::vector<Row>& rows) {
    std::vector<IndexedFile> files;
    files.reserve(rows.size());
    for (const Row& row : rows) {
        const auto path = row.text("path");
        const auto name = row.text("name");
        if (!path || !name) continue;
        files.push_back({std::string(*path), std::string(*name), row.boolean("is_directory"),
                         row.integer("size").value_or(0), row.number("modified").value_or(0)});
    }
    return files;
}

/// The rows below `folder` whose path comes after `last`, in the order of the paths, at most `limit`.
Task<std::vector<Row>> rowsBelow(std::shared_ptr<Database> database, std::string_view sql, std::string folder,
                                 std::string last, std::size_t limit) {
    auto [start, end] = rangeBelow(folder);
    std::vector<SQLValue> values{std::max(start, last), std::move(end), limit};
    co_return co_await database->rows(sql, std::move(values));
}

Task<std::vector<std::string>> pathsBelow(std::shared_ptr<Database> database, std::string folder, std::string last,
                                          std::size_t limit) {
    static constexpr auto sql = "SELECT path FROM file_index WHERE path>? AND path<? ORDER BY path LIMIT ?";
    const auto rows = co_await rowsBelow(database, sql, folder, last, limit);
    std::vector<std::string> paths;
    paths.reserve(rows.size());
    for (const Row& row : rows)
        paths.emplace_back(row.text("path").value_or(""));
    co_return paths;
}

/// Those of `folders` that are not below another of them.
std::vector<std::string> topmost(const std::vector<std::string>& folders) {
    const std::unordered_set<std::string> all(folders.begin(), folders.end());
    std::set<std::string> kept;
    for (const std::string& folder : all) {
        if (folder.empty()) continue;  // it would stand for everything
        std::string above = parentOf(folder);
        while (above.size() > 1 && !all.contains(above))
            above = parentOf(above);
        if (above == folder || !all.contains(above)) kept.insert(folder);
    }
    return {kept.begin(), kept.end()};
}

/// Whether the query asks for what no path has in it. A character may carry marks without end, but SQLite takes no
/// pattern of any length, and it would end at a NUL.
bool asksForTheImpossible(const FileSearchQuery& query) {
    const auto isImpossible = [](const std::string& fragment) {
        return fragment.size() > SkipRule::maximumPathBytes || fragment.find('\0') != std::string::npos;
    };
    const auto hasImpossible = [&](const std::vector<std::string>& fragments) {
        return std::any_of(fragments.begin(), fragments.end(), isImpossible);
    };
    return hasImpossible(query.terms) || hasImpossible(query.pathTerms) || hasImpossible(query.extensions);
}

}  // namespace

Task<> FileIndexRepository::upsert(std::vector<IndexedFile> files) const {
    if (files.empty()) co_return;
    const auto work = [&](const Database::Bulk& bulk) { writeFiles(bulk, files); };
    co_await database_->bulkWrite(work);
}

Task<> FileIndexRepository::deletePaths(std::vector<std::string> paths) const {
    if (paths.empty()) co_return;
    const auto work = [&](const Database::Bulk& bulk) { deleteFiles(bulk, paths); };
    co_await database_->bulkWrite(work);
}

Task<> FileIndexRepository::deleteTree(std::string path) const {
    static constexpr auto sql = "DELETE FROM file_index WHERE path=? OR path LIKE ? ESCAPE '\\'";
    const std::string folder = folderPath(path, home_);
    const auto below = co_await pathsBelow(database_, folder, "", deletionStep);
    // An empty path would stand for everything; a pattern ends at a NUL and would match something else.
    if (folder.empty() || below.size() == deletionStep || folder.find('\0') != std::string::npos) {
        std::vector<std::string> trees(1, folder);
        co_await deleteTrees(std::move(trees));
        co_return;
    }
    std::vector<SQLValue> values{folder, escapedLike(prefixBelow(folder)) + "%"};
    co_await database_->executeMatchingCase(sql, std::move(values));
}

Task<> FileIndexRepository::deleteTrees(std::vector<std::string> paths) const {
    for (std::string& path : paths)
        path = folderPath(path, home_);
    const auto trees = topmost(paths);
    std::vector<std::string> step;
    for (const std::string& tree : trees) {
        step.push_back(tree);
        // Each piece goes on after the last one: a writer that keeps adding does not keep this from ending.
        for (std::string last;;) {
            const std::size_t room = deletionStep - step.size();
            const auto below = co_await pathsBelow(database_, tree, last, room);
            step.insert(step.end(), below.begin(), below.end());
            if (step.size() < deletionStep) break;
            if (last.empty()) {
                bool all = false;
                const auto work = [&](const Database::Bulk& bulk) { all = deleteAllFiles(bulk, tree); };
                co_await database_->bulkWrite(work);
                if (all) co_return;
            }
            last = below.empty() ? last : below.back();
            co_await deletePaths(std::exchange(step, {}));
        }
    }
    co_await deletePaths(std::move(step));
}

Task<std::set<std::string>> FileIndexRepository::directories(std::vector<std::string> among) const {
    static constexpr std::size_t chunk = 400;
    std::set<std::string> found;
    for (std::size_t start = 0; start < among.size(); start += chunk) {
        const std::size_t count = std::min(chunk, among.size() - start);
        std::string sql = "SELECT path FROM file_index WHERE is_directory=1 AND path IN (?";
        for (std::size_t i = 1; i < count; ++i)
            sql += ",?";
        sql += ")";
        const auto first = among.begin() + static_cast<std::ptrdiff_t>(start);
        std::vector<SQLValue> values(first, first + static_cast<std::ptrdiff_t>(count));
        const auto rows = co_await database_->rows(sql, std::move(values));
        for (const Row& row : rows) {
            if (const auto path = row.text("path")) found.emplace(*path);
        }
    }
    co_return found;
}

Task<std::vector<IndexedFile>> FileIndexRepository::search(std::string name, std::optional<std::string> parent,
                                                           std::int64_t limit) const {
    const FileSearchQuery query(name);
    if (query.isEmpty() || asksForTheImpossible(query)) co_return std::vector<IndexedFile>{};
    SearchScope scope{{}, limit, true, home_};
    if (parent) scope.folder = folderPath(*parent, home_);
    scope.fullText = co_await ftsExists();
    BoundStatement statement = searchStatement(query, scope);
    std::vector<Row> rows;
    if (statement.isBeginning) {
        rows = co_await database_->rows(statement.sql, std::move(statement.values));
    } else {
        rows = co_await database_->rowsMatching(statement.sql, std::move(statement.values));
    }
    co_return filesIn(rows);
}

Task<std::vector<IndexedFile>> FileIndexRepository::list(std::string parent, std::string sort,
                                                         std::int64_t limit) const {
    std::string sql = "SELECT path,name,is_directory,size,modified FROM file_index WHERE parent=? ORDER BY ";
    if (sort == "modified") {
        sql += "modified DESC";
    } else if (sort == "name") {
        sql += "name COLLATE NOCASE ASC";
    } else {
        sql += "size DESC";
    }
    sql += " LIMIT ?";
    std::vector<SQLValue> values{folderPath(parent, home_), limit};
    const auto rows = co_await database_->rows(sql, std::move(values));
    co_return filesIn(rows);
}

Task<std::vector<IndexedFile>> FileIndexRepository::below(std::string folder, std::string after,
                                                          std::size_t limit) const {
    static constexpr auto sql =
        "SELECT path,name,is_directory,size,modified FROM file_index WHERE path>? AND path<? ORDER BY path LIMIT ?";
    const auto rows = co_await rowsBelow(database_, sql, folder, after, limit);
    co_return filesIn(rows);
}

Task<std::int64_t> FileIndexRepository::count() const {
    const auto rows = co_await database_->rows("SELECT COUNT(*) AS c FROM file_index");
    co_return rows.empty() ? 0 : rows.front().integer("c").value_or(0);
}

Task<std::vector<IndexRoot>> FileIndexRepository::roots() const {
    const auto rows = co_await database_->rows("SELECT id,path FROM index_roots ORDER BY path");
    std::vector<IndexRoot> roots;
    for (const Row& row : rows) {
        const auto id = row.text("id");
        const auto path = row.text("path");
        if (id && path) roots.push_back({std::string(*id), std::string(*path)});
    }
    co_return roots;
}

Task<> FileIndexRepository::addRoot(std::string path) const {
    std::string folder = folderPath(path, home_);
    const auto present = co_await roots();
    const auto same = [&](const IndexRoot& root) { return root.path == folder; };
    if (std::any_of(present.begin(), present.end(), same)) co_return;
    std::vector<SQLValue> values{newUUID(), std::move(folder), clock_->now()};
    co_await database_->execute("INSERT INTO index_roots(id,path,added_at) VALUES(?,?,?)", std::move(values));
}

Task<> FileIndexRepository::removeRoot(std::string id) const {
    return database_->execute("DELETE FROM index_roots WHERE id=?", {std::move(id)});
}

Task<bool> FileIndexRepository::ftsExists() const {
    const auto found = co_await database_->rows("SELECT name FROM sqlite_master WHERE name='file_index_fts'");
    co_return !found.empty();
}

Task<bool> FileIndexRepository::ftsBackfillDone() const {
    const auto rows = co_await database_->rows("SELECT value FROM settings WHERE key='fileIndex.ftsBackfilled'");
    co_return !rows.empty() && rows.front().boolean("value");
}

Task<> FileIndexRepository::markFTSBackfillDone() const {
    return database_->execute(
        "INSERT INTO settings(key,value) VALUES('fileIndex.ftsBackfilled','1') "
        "ON CONFLICT(key) DO UPDATE SET value='1'");
}

Task<> FileIndexRepository::rebuildFTS() const {
    const bool exists = co_await ftsExists();
    if (exists) co_await database_->execute("INSERT INTO file_index_fts(file_index_fts) VALUES('rebuild')");
}

Task<bool> FileIndexRepository::mergeFTS() const {
    const bool exists = co_await ftsExists();
    if (!exists) co_return false;
    bool more = false;
    const auto work = [&](const Database::Bulk& bulk) {
        const auto changes = [&] {
            return bulk.prepare("SELECT total_changes() AS c").first()->integer("c").value_or(0);
        };
        const auto before = changes();
        // The pages to write; a negative number asks for one piece
        // (https://www.sqlite.org/fts5.html#the_merge_command).
        bulk.prepare("INSERT INTO file_index_fts(file_index_fts,rank) VALUES('merge',-200)").execute();
        more = changes() >= before + 2;
    };
    co_await database_->bulkWrite(work);
    co_return more;
}

Task<std::uint64_t> FileIndexRepository::loadEventID() const {
    const auto rows = co_await database_->rows("SELECT value FROM settings WHERE key='fileIndex.lastEventID'");
    const std::string_view digits = rows.empty() ? "" : rows.front().text("value").value_or("");
    std::uint64_t id = 0;
    const char* const begin = digits.data();
    const char* const end = begin + digits.size();
    const auto [stop, error] = std::from_chars(begin, end, id);
    co_return error == std::errc{} && stop == end ? id : 0;
}

Task<> FileIndexRepository::saveEventID(std::uint64_t id) const {
    return database_->execute(
        "INSERT INTO settings(key,value) VALUES('fileIndex.lastEventID',?) "
        "ON CONFLICT(key) DO UPDATE SET value=excluded.value",
        {std::to_string(id)});
}

}  // namespace velmora
