#include "app/storage/SettingsRepository.h"

#include "core/text/Text.h"

namespace velmora {

Task<std::optional<JSONValue>> SettingsRepository::loadDocument(std::shared_ptr<Database> database, std::string key) {
    static constexpr auto sql = "SELECT value FROM settings WHERE key=?";
    std::vector<SQLValue> values{std::move(key)};
    const auto rows = co_await database->rows(sql, std::move(values));
    std::optional<JSONValue> document;
    if (!rows.empty()) document = JSONValue::parse(text::validUtf8(rows.front().text("value").value_or("")));
    co_return document;
}

Task<> SettingsRepository::saveDocument(std::shared_ptr<Database> database, std::string key, JSONValue document) {
    static constexpr auto sql =
        "INSERT INTO settings(key,value) VALUES(?,?) ON CONFLICT(key) DO UPDATE SET value=excluded.value";
    std::vector<SQLValue> values{std::move(key), document.encodedString()};
    co_await database->execute(sql, std::move(values));
}

}  // namespace velmora
