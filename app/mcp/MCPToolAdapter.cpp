#include "app/mcp/MCPToolAdapter.h"

#include "core/AppError.h"

#include <utility>

namespace velmora {

MCPToolAdapter::MCPToolAdapter(const std::string& serverId, MCPToolDescription description,
                               std::shared_ptr<MCPTransport> transport)
    : definition_{.name = prefix(serverId) + description.name,
                  .description = description.description.value_or(description.name),
                  .inputSchema = std::move(description.inputSchema),
                  .permission = ToolPermission::destructive,
                  .requiresApproval = false},
      remoteName_(std::move(description.name)),
      transport_(std::move(transport)) {}

Task<ToolResult> MCPToolAdapter::execute(JSONValue input) {
    JSONValue::Object params;
    params.emplace("name", remoteName_);
    params.emplace("arguments", std::move(input));
    JSONValue result = co_await transport_->request("tools/call", std::move(params));
    if (result["isError"] == JSONValue(true)) {
        throw AppError::toolExecution("The MCP tool reported an execution error.");
    }
    co_return ToolResult{std::move(result)};
}

}  // namespace velmora
