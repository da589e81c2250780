#pragma once

#include "app/storage/sqlite/Row.h"
#include "app/storage/sqlite/SQLValue.h"
#include "core/AppError.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace velmora {

/// The failure with that sentence. Logs the connection's present result code, and never SQLite's own words: they can
/// quote what is stored.
AppError databaseFailure(const char* sentence, sqlite3* connection);

/// One compiled statement, finalised when it goes.
///
/// Runs on: the database's actor. Fails with: `AppError::database`.
class Statement {
  public:
    /// Compiles `sql`. Fails with "The database query could not be prepared.", also when there is no statement in it.
    Statement(sqlite3* connection, std::string_view sql);

    /// Binds `values` to the parameters 1, 2, 3 … for a new run; fails with "Could not bind database values.".
    void bind(const std::vector<SQLValue>& values);

    /// Runs a statement that returns no rows and makes it ready to run again; fails with "Could not save local data.".
    void execute();

    /// The next row; nothing at the end. Fails with "Could not read local data.", or with `Cancelled` when it was
    /// interrupted.
    std::optional<Row> next();

    /// The first row, if there is one, leaving the statement ready to run again. Fails as `next` does.
    std::optional<Row> first();

  private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };

    sqlite3* connection_;
    std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
    std::shared_ptr<const Row::Columns> columns_;
};

}  // namespace velmora
