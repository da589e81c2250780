#pragma once

#include "app/mcp/LineBuffer.h"
#include "app/mcp/PendingCalls.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// Everything that a server says, from bytes to settled calls and replies to what it asks.
///
/// Runs on: one task at a time.
class MessageReader {
  public:
    /// `calls` must outlive it. `reply` sends a message to the server.
    MessageReader(PendingCalls& calls, std::function<void(const std::string& message)> reply)
        : calls_(calls), reply_(std::move(reply)) {}

    /// Takes what has arrived. A fault is the end of the connection; what came before it has been taken.
    [[nodiscard]] std::optional<MCPFault> receive(std::string_view piece);

    /// Gives back the memory of what has arrived and is no whole line.
    void forget() { lines_ = {}; }

  private:
    [[nodiscard]] std::optional<MCPFault> take(jsonrpc::Message message);

    PendingCalls& calls_;
    std::function<void(const std::string&)> reply_;
    LineBuffer lines_;
};

}  // namespace velmora
