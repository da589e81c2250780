#include "app/storage/fileindex/FileIndexBatch.h"

#include "app/storage/fileindex/FileIndexQuery.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <utility>

namespace velmora {
namespace {

/// Bound numbers are doubles, which the full-text index does not take for the number of a row.
constexpr auto addEntry = "INSERT INTO file_index_fts(rowid,name) VALUES(CAST(? AS INTEGER),?)";
constexpr auto removeEntry =
    "INSERT INTO file_index_fts(file_index_fts,rowid,name) VALUES('delete',CAST(? AS INTEGER),?)";

bool hasFullText(const Database::Bulk& bulk) {
    return bulk.prepare("SELECT name FROM sqlite_master WHERE name='file_index_fts'").first().has_value();
}

struct Entry {
    std::int64_t row;
    std::string name;
};

/// What the index knows before a batch changes it.
class Entries {
  public:
    explicit Entries(const Database::Bulk& bulk)
        : entry_(bulk.prepare("SELECT rowid,name FROM file_index WHERE path=?")),
          child_(bulk.prepare("SELECT 1 FROM file_index WHERE parent=? LIMIT 1")) {}

    std::optional<Entry> at(const std::string& path) {
        entry_.bind({path});
        const auto row = entry_.first();
        if (!row) return std::nullopt;
        return Entry{row->integer("rowid").value_or(0), std::string(row->text("name").value_or(""))};
    }

    /// Whether anything in the folder was indexed when it was first asked for. Asked once a folder, where asking for
    /// each entry costs a tenth of writing it.
    bool knewFolder(const std::string& folder) {
        const auto [known, isNew] = knownFolders_.try_emplace(folder, false);
        if (isNew) {
            child_.bind({folder});
            known->second = child_.first().has_value();
        }
        return known->second;
    }

  private:
    Statement entry_;
    Statement child_;
    std::unordered_map<std::string, bool> knownFolders_;
};

/// The full-text entries of a batch. New rows are entered together at its end: they have the highest numbers.
class FullText {
  public:
    explicit FullText(const Database::Bulk& bulk)
        : add_(bulk.prepare(addEntry)), remove_(bulk.prepare(removeEntry)), last_(highestRow(bulk)) {}

    void rename(const Entry& entry, const std::string& name) {
        if (entry.row > last_ || entry.name == name) return;
        remove_.bind({entry.row, entry.name});
        remove_.execute();
        add_.bind({entry.row, name});
        add_.execute();
    }

    void addNew(const Database::Bulk& bulk) {
        // One statement: at the end of each the index writes out what it has gathered.
        Statement entries =
            bulk.prepare("INSERT INTO file_index_fts(rowid,name) SELECT rowid,name FROM file_index WHERE rowid>?");
        entries.bind({last_});
        entries.execute();
    }

  private:
    static std::int64_t highestRow(const Database::Bulk& bulk) {
        const auto row = bulk.prepare("SELECT MAX(rowid) AS highest FROM file_index").first();
        return row ? row->integer("highest").value_or(0) : 0;
    }

    Statement add_;
    Statement remove_;
    std::int64_t last_;
};

std::string_view lastComponent(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

/// By name as the index on names sorts them, so that names with a common beginning become neighbours in the table: the
/// rows that a search wants together are then read together, which makes two-letter searches three times as fast. Taken
/// from the path, so that of entries for the same path the last one stays last.
std::vector<const IndexedFile*> sortedByName(const std::vector<IndexedFile>& files) {
    std::vector<const IndexedFile*> sorted;
    sorted.reserve(files.size());
    for (const IndexedFile& file : files)
        sorted.push_back(&file);
    const auto folded = [](char c) { return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); };
    const auto before = [&](char left, char right) { return folded(left) < folded(right); };
    std::stable_sort(sorted.begin(), sorted.end(), [&](const IndexedFile* left, const IndexedFile* right) {
        const auto first = lastComponent(left->path);
        const auto second = lastComponent(right->path);
        return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end(), before);
    });
    return sorted;
}

}  // namespace

void writeFiles(const Database::Bulk& bulk, const std::vector<IndexedFile>& files) {
    static constexpr auto sql =
        "INSERT INTO file_index(path,name,parent,is_directory,size,modified) VALUES(?,?,?,?,?,?) "
        "ON CONFLICT(path) DO UPDATE SET name=excluded.name,parent=excluded.parent,"
        "is_directory=excluded.is_directory,size=excluded.size,modified=excluded.modified";
    std::optional<FullText> fullText;
    if (hasFullText(bulk)) fullText.emplace(bulk);
    Entries entries(bulk);
    Statement write = bulk.prepare(sql);
    for (const IndexedFile* const next : sortedByName(files)) {
        const IndexedFile& file = *next;
        const std::string parent = parentOf(file.path);
        const auto before = fullText && entries.knewFolder(parent) ? entries.at(file.path) : std::nullopt;
        // Not a number would read as NULL, which no column takes, and one odd time must not lose the batch.
        const double modified = std::isfinite(file.modified) ? file.modified : 0;
        write.bind({file.path, file.name, parent, file.isDirectory, file.size, modified});
        write.execute();
        if (before) fullText->rename(*before, file.name);
    }
    if (fullText) fullText->addNew(bulk);
}

void deleteFiles(const Database::Bulk& bulk, const std::vector<std::string>& paths) {
    Entries entries(bulk);
    std::vector<std::pair<Entry, const std::string*>> found;
    for (const std::string& path : paths) {
        if (auto entry = entries.at(path)) found.emplace_back(*std::move(entry), &path);
    }
    // In the order of the rows: at each step backwards the full-text index writes out what it has gathered, which makes
    // any other order twenty times as slow.
    const auto byRow = [](const auto& left, const auto& right) { return left.first.row < right.first.row; };
    std::sort(found.begin(), found.end(), byRow);
    std::optional<Statement> forget;
    if (hasFullText(bulk)) forget = bulk.prepare(removeEntry);
    Statement remove = bulk.prepare("DELETE FROM file_index WHERE path=?");
    const Entry* last = nullptr;
    for (const auto& [entry, path] : found) {
        if (last && last->row == entry.row) continue;  // a path that was given twice
        last = &entry;
        if (forget) {
            forget->bind({entry.row, entry.name});
            forget->execute();
        }
        remove.bind({*path});
        remove.execute();
    }
}

bool deleteAllFiles(const Database::Bulk& bulk, const std::string& folder) {
    const auto [start, end] = rangeBelow(folder);
    Statement others = bulk.prepare("SELECT 1 FROM file_index WHERE path<>? AND path<? LIMIT 1");
    others.bind({folder, start});
    if (others.first()) return false;
    others = bulk.prepare("SELECT 1 FROM file_index WHERE path>=? LIMIT 1");
    others.bind({end});
    if (others.first()) return false;
    if (hasFullText(bulk)) bulk.prepare("INSERT INTO file_index_fts(file_index_fts) VALUES('delete-all')").execute();
    bulk.prepare("DELETE FROM file_index").execute();
    return true;
}

std::string parentOf(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return "";
    return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

}  // namespace velmora
