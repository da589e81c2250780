#pragma once

#include <sqlite3.h>

#include <stop_token>
#include <utility>

namespace velmora {

/// While it lives, a statement running on the connection is interrupted once a stop is requested. Unlike
/// `sqlite3_interrupt` it can never hit another caller's statement.
class Interruption {
  public:
    Interruption(sqlite3* connection, std::stop_token stop) : connection_(connection), stop_(std::move(stop)) {
        sqlite3_progress_handler(connection_, instructionsBetweenLooks, &Interruption::look, this);
    }
    ~Interruption() { sqlite3_progress_handler(connection_, 0, nullptr, nullptr); }
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

  private:
    static constexpr int instructionsBetweenLooks = 100;  // about ten rows of a table scan

    static int look(void* self) { return static_cast<const Interruption*>(self)->stop_.stop_requested() ? 1 : 0; }

    sqlite3* connection_;
    std::stop_token stop_;
};

}  // namespace velmora
