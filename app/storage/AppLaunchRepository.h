#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/async/Clock.h"
#include "core/json/JSONValue.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// One argument text that was used with one application.
struct AppLaunchRecord {
    std::string appPath;
    std::string arguments;  ///< exactly as typed
    std::int64_t count = 0;
    TimePoint lastUsed;

    bool operator==(const AppLaunchRecord&) const = default;

    /// An object with the fields' names; times as seconds since 1970.
    [[nodiscard]] JSONValue toJSON() const;

    /// Fails with `JSONError`.
    static AppLaunchRecord fromJSON(const JSONValue& value);
};

/// The argument texts that applications were launched with.
///
/// Runs on: any task. Fails with: `AppError::database`.
class AppLaunchRepository {
  public:
    /// `clock` must outlive the repository.
    AppLaunchRepository(std::shared_ptr<Database> database, const Clock& clock)
        : database_(std::move(database)), clock_(&clock) {}

    /// Counts one more use of `arguments` with the application, now.
    [[nodiscard]] Task<> record(std::string appPath, std::string arguments) const;

    /// The application's argument texts, the most recent first, at most `limit`. Rows that do not read as a record are
    /// skipped.
    [[nodiscard]] Task<std::vector<AppLaunchRecord>> recents(std::string appPath, int limit) const;

  private:
    std::shared_ptr<Database> database_;
    const Clock* clock_;
};

}  // namespace velmora
