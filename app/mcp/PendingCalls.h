#pragma once

#include "app/mcp/JSONRPC.h"
#include "core/async/Completion.h"

#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>

namespace velmora {

/// The requests of one connection that wait for their answers. Each is settled exactly once; what comes for one that is
/// not there (late, twice, never asked) does nothing.
///
/// Runs on: one task at a time.
class PendingCalls {
  public:
    using Answer = Completion<JSONValue>;

    /// Notes that `answer` is waited for; the request's identifier, which no other has ever had.
    std::int64_t open(const Answer& answer);

    /// What is cancelled when the request is settled. Does nothing when it has been.
    void guard(std::int64_t id, TaskHandle timeout);

    [[nodiscard]] bool isOpen(std::int64_t id) const { return calls_.contains(id); }

    /// Gives a request its result or, where the server rejected it, `AppError::mcp`.
    void settle(jsonrpc::Response response);

    void fail(std::int64_t id, std::exception_ptr failure);

    /// Fails every request with `AppError::mcp`.
    void failAll(const std::string& sentence);

  private:
    struct Call {
        Answer answer;
        TaskHandle timeout;
    };

    std::optional<Call> take(std::int64_t id);

    std::map<std::int64_t, Call> calls_;
    std::int64_t lastId_ = 0;
};

}  // namespace velmora
