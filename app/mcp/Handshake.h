#pragma once

#include "app/mcp/MCPTransport.h"
#include "core/mcp/MCPModels.h"

#include <memory>
#include <vector>

namespace velmora {

/// Agrees with a server that was just started on a version of the protocol. Fails with `AppError` (mcp) "This MCP
/// protocol version is not supported.", and with what the transport fails with.
[[nodiscard]] Task<> initializeServer(std::shared_ptr<MCPTransport> transport);

/// Every tool of a server, page by page: at most 500 on at most 20 pages. Fails with `AppError` (mcp) beyond that, when
/// the pages go round in a circle, and with what the transport fails with; with `JSONError` when a page does not read.
[[nodiscard]] Task<std::vector<MCPToolDescription>> listTools(std::shared_ptr<MCPTransport> transport);

}  // namespace velmora
