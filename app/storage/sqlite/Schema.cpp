#include "app/storage/sqlite/Schema.h"

#include <sqlite3.h>

#include <algorithm>

namespace velmora::schema {

bool bringUpToDate(sqlite3* connection) {
    const auto run = [connection](const char* sql) {
        return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    };
    run(pageSize);
    if (!std::ranges::all_of(migrations, run)) return false;
    std::ranges::for_each(fullText, run);
    std::ranges::for_each(tuning, run);
    return true;
}

}  // namespace velmora::schema
