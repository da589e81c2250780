#pragma once

#include "app/mcp/MCPTransport.h"
#include "core/assistant/Tools.h"
#include "core/mcp/MCPModels.h"

#include <memory>
#include <string>

namespace velmora {

/// A tool of an MCP server among the assistant's own. The user is asked before every call.
///
/// Runs on: the main thread. Fails with: `AppError` (toolExecution) when the server says that the tool failed, and with
/// what the transport fails with.
class MCPToolAdapter final : public Tool {
  public:
    /// What the names of all tools of a server begin with.
    [[nodiscard]] static std::string prefix(const std::string& serverId) { return "mcp." + serverId + "."; }

    MCPToolAdapter(const std::string& serverId, MCPToolDescription description,
                   std::shared_ptr<MCPTransport> transport);

    [[nodiscard]] const ToolDefinition& definition() const override { return definition_; }
    [[nodiscard]] Task<ToolResult> execute(JSONValue input) override;

  private:
    ToolDefinition definition_;
    std::string remoteName_;
    std::shared_ptr<MCPTransport> transport_;
};

}  // namespace velmora
