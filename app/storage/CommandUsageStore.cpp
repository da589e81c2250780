#include "app/storage/CommandUsageStore.h"

namespace velmora {

Task<> CommandUsageStore::record(std::string id) const {
    static constexpr auto sql =
        "INSERT INTO command_usage(id,count,last_used) VALUES(?,1,?) "
        "ON CONFLICT(id) DO UPDATE SET count=count+1,last_used=excluded.last_used";
    return database_->execute(sql, {std::move(id), clock_->now()});
}

Task<UsageMap> CommandUsageStore::load() const {
    static constexpr auto sql = "SELECT * FROM command_usage";
    const auto rows = co_await database_->rows(sql);
    UsageMap usages;
    for (const Row& row : rows) {
        const auto id = row.text("id");
        const auto count = row.integer("count");
        const auto lastUsed = row.time("last_used");
        if (id && count && lastUsed) usages.insert_or_assign(std::string(*id), CommandUsage{*count, *lastUsed});
    }
    co_return usages;
}

}  // namespace velmora
