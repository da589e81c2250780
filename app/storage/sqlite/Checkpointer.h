#pragma once

#include "core/async/Async.h"

#include <memory>
#include <string>

struct sqlite3;

namespace velmora {

/// Copies what commits have appended to the write-ahead log into the database file, in the background and on a
/// connection of its own, which runs nothing else. SQLite would do it inside a commit, where writing out and syncing
/// some thousand pages keeps every query waiting.
///
/// Runs on: the pool, beside the database's actor. Owns: its connection. Fails with: nothing; what could not be copied
/// is copied after a later commit, at the latest when the database is closed.
class Checkpointer {
  public:
    /// `path` is the database file's.
    Checkpointer(const Executor& pool, std::string path);

    /// Follows the commits of `connection`, which must not commit any more once the checkpointer is gone.
    void follow(sqlite3* connection);

    /// Waits for a copy that is going on and closes the connection; none is begun afterwards.
    [[nodiscard]] Task<> close();

  private:
    struct State;

    std::shared_ptr<State> state_;
};

}  // namespace velmora
