#include "app/storage/ClipboardRepository.h"

#include "core/settings/AppPreferences.h"
#include "core/text/Text.h"
#include "core/text/UUID.h"

namespace velmora {
namespace {

std::optional<ClipboardEntry> entryOf(const Row& row) {
    const auto id = row.text("id");
    const auto content = row.text("content");
    const auto createdAt = row.time("created_at");
    if (!id || !content || !createdAt) return std::nullopt;
    const std::string_view listed = text::beginning(*content, ClipboardRepository::listedBytes);
    ClipboardEntry entry{std::string(*id), std::string(listed), std::string(row.text("kind").value_or("text")),
                         *createdAt,       std::nullopt,        listed.size() == content->size()};
    if (const auto source = row.text("source_app")) entry.sourceApp = *source;
    return entry;
}

}  // namespace

Task<> ClipboardRepository::insert(std::string content, std::optional<std::string> sourceApp,
                                   std::int64_t limit) const {
    // After a clock that was ahead the newest entries are those of the future, behind which a new copy would be the
    // first to be pruned and the last to be found.
    static constexpr auto sql =
        "INSERT INTO clipboard_history(id,content,kind,created_at,source_app) VALUES(?,?,?,"
        "max(?,ifnull((SELECT max(created_at)+0.001 FROM clipboard_history),0)),?) "
        "ON CONFLICT(content) DO UPDATE SET created_at=excluded.created_at, source_app=excluded.source_app";
    if (content.empty() || content.size() > maximumBytes) co_return;
    const std::string_view kind = ClipboardEntry::kindOf(content);
    std::vector<SQLValue> values{newUUID(), std::move(content), kind, clock_->now()};
    values.emplace_back(std::move(sourceApp));
    co_await database_->execute(sql, std::move(values));
    co_await prune(limit);
}

Task<> ClipboardRepository::prune(std::int64_t limit) const {
    static constexpr auto sql =
        "DELETE FROM clipboard_history WHERE id NOT IN "
        "(SELECT id FROM clipboard_history ORDER BY created_at DESC LIMIT ?)";
    return database_->executeErasing(sql, {clampedClipboardLimit(limit)});
}

Task<std::vector<ClipboardEntry>> ClipboardRepository::search(std::string text) const {
    // One byte more than is listed, which tells that there is more. Bytes, because a text's own end is its first NUL.
    static constexpr auto sql =
        "SELECT id,substr(CAST(content AS BLOB),1,?) AS content,kind,created_at,source_app FROM clipboard_history "
        "WHERE instr(lower(content),lower(?)) > 0 ORDER BY created_at DESC LIMIT 500";
    std::vector<SQLValue> values{static_cast<double>(listedBytes + 1), std::move(text)};
    std::vector<ClipboardEntry> entries;
    const std::function<void(Row)> keep = [&entries](const Row& row) {
        if (auto entry = entryOf(row)) entries.push_back(*std::move(entry));
    };
    co_await database_->forEachRow(sql, std::move(values), keep);
    co_return entries;
}

Task<std::optional<std::string>> ClipboardRepository::content(std::string id) const {
    static constexpr auto sql = "SELECT content FROM clipboard_history WHERE id=?";
    std::vector<SQLValue> values{std::move(id)};
    const std::vector<Row> rows = co_await database_->rows(sql, std::move(values));
    const auto found = rows.empty() ? std::nullopt : rows.front().text("content");
    co_return found ? std::optional<std::string>(*found) : std::nullopt;
}

Task<> ClipboardRepository::clear() const {
    static constexpr auto sql = "DELETE FROM clipboard_history";
    return database_->executeErasing(sql);
}

}  // namespace velmora
