#pragma once

#include "app/mcp/StdioTransport.h"
#include "app/services/KeychainService.h"
#include "app/storage/MCPServerRepository.h"
#include "core/assistant/Tools.h"
#include "core/async/Signal.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmora {

/// The MCP servers: which are configured, and which are connected with their tools in the registry. A connected
/// server's tools are those that it listed when it was connected. Nothing connects by itself.
///
/// Runs on: the main thread. Outlives its calls; what it is made of outlives it. Fails with: `AppError`; a call that is
/// overtaken with `Cancelled`.
class MCPManager {
  public:
    MCPManager(MainExecutor main, StdioTransport::Host host, ToolRegistry& registry,
               std::shared_ptr<KeychainService> keychain, MCPServerRepository repository);
    MCPManager(const MCPManager&) = delete;
    MCPManager& operator=(const MCPManager&) = delete;

    /// Replaces the list with the stored one. Fails with `JSONError` too, and then changes nothing.
    [[nodiscard]] Task<> load();

    /// Stores a new server; it is not connected.
    [[nodiscard]] Task<> add(MCPServerConfiguration configuration);

    /// Starts a server, which the user has allowed, and registers its tools; one that is connected is connected anew.
    /// Does nothing while it is being connected already.
    [[nodiscard]] Task<> connect(MCPServerConfiguration configuration);

    /// Removes a server's tools and ends it.
    [[nodiscard]] Task<> disconnect(MCPServerConfiguration configuration);

    /// Disconnects a server and forgets it.
    [[nodiscard]] Task<> remove(MCPServerConfiguration configuration);

    /// Ends all servers, those that are being connected too; none is started any more.
    [[nodiscard]] Task<> stop();

    /// In the order in which they were loaded and added.
    [[nodiscard]] const std::vector<MCPServerConfiguration>& configurations() const { return configurations_; }

    /// How each server is doing, as one line, by its identifier. Without a line it was never connected.
    [[nodiscard]] const std::map<std::string, std::string>& status() const { return status_; }

    [[nodiscard]] Subscription onChange(std::function<void()> callback) {
        return changed_.subscribe(std::move(callback));
    }

  private:
    using Transports = std::map<std::string, std::shared_ptr<StdioTransport>>;

    [[nodiscard]] Task<> establish(MCPServerConfiguration configuration);
    [[nodiscard]] Task<> open(MCPServerConfiguration configuration, std::uint64_t session,
                              std::shared_ptr<StdioTransport> transport);
    [[nodiscard]] Task<StdioTransport::Secrets> readSecrets(std::map<std::string, std::string> accounts);
    void registerTools(const std::string& id, std::vector<MCPToolDescription> tools,
                       const std::shared_ptr<StdioTransport>& transport);
    [[nodiscard]] Task<> disconnect(std::string id);
    [[nodiscard]] bool isCurrent(const std::string& id, std::uint64_t session) const;
    void report(const std::string& id, std::string line);

    MainExecutor main_;
    StdioTransport::Host host_;
    ToolRegistry& registry_;
    std::shared_ptr<KeychainService> keychain_;
    MCPServerRepository repository_;
    Transports transports_;
    Transports opening_;
    std::map<std::string, std::uint64_t> sessions_;  ///< of the latest attempt to connect that was not withdrawn
    std::uint64_t lastSession_ = 0;
    std::set<std::string> connecting_;
    std::vector<MCPServerConfiguration> configurations_;
    std::map<std::string, std::string> status_;
    Signal<> changed_;
    bool isStopped_ = false;
};

}  // namespace velmora
