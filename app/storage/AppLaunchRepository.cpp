#include "app/storage/AppLaunchRepository.h"

#include "core/json/JSONRecord.h"

namespace velmora {

JSONValue AppLaunchRecord::toJSON() const {
    return JSONValue::Object{
        {"appPath", appPath}, {"arguments", arguments}, {"count", count}, {"lastUsed", secondsSince1970(lastUsed)}};
}

AppLaunchRecord AppLaunchRecord::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "appPath"), decodeMember<std::string>(value, "arguments"),
            decodeMember<std::int64_t>(value, "count"), timeFromSeconds(decodeMember<double>(value, "lastUsed"))};
}

Task<> AppLaunchRepository::record(std::string appPath, std::string arguments) const {
    static constexpr auto sql =
        "INSERT INTO app_launches(app_path,arguments,count,last_used) VALUES(?,?,1,?) "
        "ON CONFLICT(app_path,arguments) DO UPDATE SET count=count+1,last_used=excluded.last_used";
    return database_->execute(sql, {std::move(appPath), std::move(arguments), clock_->now()});
}

Task<std::vector<AppLaunchRecord>> AppLaunchRepository::recents(std::string appPath, int limit) const {
    static constexpr auto sql =
        "SELECT app_path,arguments,count,last_used FROM app_launches WHERE app_path=? ORDER BY last_used DESC LIMIT ?";
    std::vector<SQLValue> values{std::move(appPath), limit};
    const auto rows = co_await database_->rows(sql, std::move(values));
    std::vector<AppLaunchRecord> records;
    for (const Row& row : rows) {
        const auto path = row.text("app_path");
        const auto arguments = row.text("arguments");
        const auto count = row.integer("count");
        const auto lastUsed = row.time("last_used");
        if (path && arguments && count && lastUsed) {
            records.push_back({std::string(*path), std::string(*arguments), *count, *lastUsed});
        }
    }
    co_return records;
}

}  // namespace velmora
