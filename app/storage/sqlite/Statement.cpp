#include "app/storage/sqlite/Statement.h"

#include "app/log/AppLog.h"
#include "core/async/Async.h"

#include <sqlite3.h>

#include <limits>
#include <string>
#include <utility>

namespace velmora {
namespace {

int bindOne(sqlite3_stmt* statement, int parameter, const SQLValue& value) {
    if (const std::string* text = value.text()) {
        return sqlite3_bind_text64(statement, parameter, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    if (const double* number = value.number()) return sqlite3_bind_double(statement, parameter, *number);
    return sqlite3_bind_null(statement, parameter);
}

/// Names can change only when the statement is compiled anew, which happens at most before its first row.
std::shared_ptr<const Row::Columns> columnNames(sqlite3_stmt* statement) {
    auto columns = std::make_shared<Row::Columns>();
    const int count = sqlite3_column_count(statement);
    for (int i = 0; i < count; ++i) {
        const char* const name = sqlite3_column_name(statement, i);
        columns->emplace_back(name ? name : "");
    }
    return columns;
}

std::optional<std::string_view> columnText(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    const auto* const bytes = sqlite3_column_text(statement, column);
    if (!bytes) return std::nullopt;
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    return std::string_view(reinterpret_cast<const char*>(bytes), size);
}

}  // namespace

AppError databaseFailure(const char* sentence, sqlite3* connection) {
    const int code = connection ? sqlite3_extended_errcode(connection) : SQLITE_CANTOPEN;
    AppLog::database.error("Database result code " + std::to_string(code));
    return AppError::database(sentence);
}

void Statement::Finalizer::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

Statement::Statement(sqlite3* connection, std::string_view sql) : connection_(connection) {
    sqlite3_stmt* compiled = nullptr;
    const bool fits = sql.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    const int code = fits ? sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &compiled, nullptr)
                          : SQLITE_TOOBIG;
    statement_.reset(compiled);
    if (code != SQLITE_OK || !compiled) {
        throw databaseFailure("The database query could not be prepared.", connection);
    }
}

void Statement::bind(const std::vector<SQLValue>& values) {
    sqlite3_reset(statement_.get());  // says again what the last run failed with, which is known
    int parameter = 0;
    for (const SQLValue& value : values) {
        if (bindOne(statement_.get(), ++parameter, value) != SQLITE_OK) {
            throw databaseFailure("Could not bind database values.", connection_);
        }
    }
}

void Statement::execute() {
    if (sqlite3_step(statement_.get()) != SQLITE_DONE) {
        throw databaseFailure("Could not save local data.", connection_);
    }
    sqlite3_reset(statement_.get());
}

std::optional<Row> Statement::next() {
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_DONE) return std::nullopt;
    if (code == SQLITE_INTERRUPT) throw Cancelled{};
    if (code != SQLITE_ROW) throw databaseFailure("Could not read local data.", connection_);
    if (!columns_) columns_ = columnNames(statement_.get());
    Row row(columns_);
    for (int i = 0; i < static_cast<int>(columns_->size()); ++i)
        row.append(columnText(statement_.get(), i));
    return row;
}

std::optional<Row> Statement::first() {
    auto row = next();
    sqlite3_reset(statement_.get());
    return row;
}

}  // namespace velmora
