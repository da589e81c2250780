#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/mcp/MCPModels.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// The MCP servers that the user has configured.
///
/// Runs on: any task. Fails with: `AppError::database`.
class MCPServerRepository {
  public:
    explicit MCPServerRepository(std::shared_ptr<Database> database) : database_(std::move(database)) {}

    /// Fails with `JSONError` too, when one of them does not read.
    [[nodiscard]] Task<std::vector<MCPServerConfiguration>> load() const;

    [[nodiscard]] Task<> add(MCPServerConfiguration configuration) const;

    [[nodiscard]] Task<> remove(std::string id) const;

  private:
    std::shared_ptr<Database> database_;
};

}  // namespace velmora
