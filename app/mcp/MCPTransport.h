#pragma once

#include "core/async/Async.h"
#include "core/json/JSONValue.h"

#include <string>

namespace velmora {

/// A connection to an MCP server.
///
/// Runs on: any task. Fails with: `AppError` (mcp), `Cancelled`.
class MCPTransport {
  public:
    virtual ~MCPTransport() = default;

    /// Sends a request and waits for its result; null where the answer has none. A cancelled caller tells the server.
    [[nodiscard]] virtual Task<JSONValue> request(std::string method, JSONValue params) = 0;

    /// Sends a message that nobody answers.
    [[nodiscard]] virtual Task<> notify(std::string method, JSONValue params) = 0;

    /// Ends the connection and waits until nothing is left of the server. Again, it only waits.
    [[nodiscard]] virtual Task<> close() = 0;
};

}  // namespace velmora
