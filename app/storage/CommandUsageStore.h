#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/async/Clock.h"
#include "core/commands/CommandRegistry.h"

#include <memory>
#include <string>
#include <utility>

namespace velmora {

/// How often and when last each command was run, kept between runs of the program.
///
/// Runs on: any task. Fails with: `AppError::database`.
class CommandUsageStore {
  public:
    /// `clock` must outlive the store.
    CommandUsageStore(std::shared_ptr<Database> database, const Clock& clock)
        : database_(std::move(database)), clock_(&clock) {}

    /// Counts one more use of the command, now.
    [[nodiscard]] Task<> record(std::string id) const;

    /// Every command's usage. Rows that do not read as one are skipped.
    [[nodiscard]] Task<UsageMap> load() const;

  private:
    std::shared_ptr<Database> database_;
    const Clock* clock_;
};

}  // namespace velmora
