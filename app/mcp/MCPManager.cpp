#include "app/mcp/MCPManager.h"

#include "app/log/AppLog.h"
#include "app/mcp/Handshake.h"
#include "app/mcp/MCPToolAdapter.h"
#include "core/AppError.h"
#include "core/Assert.h"

#include <utility>

namespace velmora {
namespace {

/// Waits until nothing is left of a server, unless the caller is cancelled: the server ends all the same then.
Task<> closeFully(std::shared_ptr<MCPTransport> transport) {  // NOLINT(performance-unnecessary-value-param)
    if (!transport) co_return;
    try {
        co_await transport->close();
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): as said
    }
}

template <class Transports>
typename Transports::mapped_type taken(Transports& transports, const std::string& id) {
    auto node = transports.extract(id);
    return node.empty() ? nullptr : std::move(node.mapped());
}

}  // namespace

MCPManager::MCPManager(MainExecutor main, StdioTransport::Host host, ToolRegistry& registry,
                       std::shared_ptr<KeychainService> keychain, MCPServerRepository repository)
    : main_(std::move(main)),
      host_(std::move(host)),
      registry_(registry),
      keychain_(std::move(keychain)),
      repository_(std::move(repository)) {}

Task<> MCPManager::load() {
    VELMORA_ASSERT_MAIN();
    configurations_ = co_await repository_.load();
    changed_.emit();
}

Task<> MCPManager::add(MCPServerConfiguration configuration) {
    VELMORA_ASSERT_MAIN();
    configuration.requireAddable(configurations_);
    co_await repository_.add(configuration);
    configurations_.push_back(std::move(configuration));
    changed_.emit();
}

Task<> MCPManager::connect(MCPServerConfiguration configuration) {
    VELMORA_ASSERT_MAIN();
    if (isStopped_) throw Cancelled{};
    const std::string id = configuration.id;
    if (!connecting_.insert(id).second) co_return;
    std::exception_ptr failure;
    try {
        co_await establish(std::move(configuration));
    } catch (...) {
        failure = std::current_exception();
    }
    connecting_.erase(id);
    if (failure) std::rethrow_exception(failure);
}

Task<> MCPManager::establish(MCPServerConfiguration configuration) {
    const std::string id = configuration.id;
    co_await disconnect(id);
    if (isStopped_) throw Cancelled{};
    const std::uint64_t session = ++lastSession_;
    sessions_[id] = session;
    report(id, "Connecting…");
    const auto transport = std::make_shared<StdioTransport>(host_);
    opening_[id] = transport;
    std::exception_ptr failure;
    try {
        co_await open(std::move(configuration), session, transport);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure) co_return;
    // Who withdrew the attempt has closed its transport, which fails in words of its own.
    if (!isCurrent(id, session)) failure = std::make_exception_ptr(Cancelled{});
    taken(opening_, id);
    co_await closeFully(transport);
    report(id, AppError::friendly(failure));
    std::rethrow_exception(failure);
}

Task<> MCPManager::open(MCPServerConfiguration configuration, std::uint64_t session,
                        std::shared_ptr<StdioTransport> transport) {
    const std::string id = configuration.id;
    StdioTransport::Secrets secrets = co_await readSecrets(configuration.secretEnvironment);
    co_await transport->start(std::move(configuration), std::move(secrets));
    co_await initializeServer(transport);
    std::vector<MCPToolDescription> tools = co_await listTools(transport);
    co_await throwIfCancelled();
    if (!isCurrent(id, session)) throw Cancelled{};
    const std::size_t count = tools.size();
    registerTools(id, std::move(tools), transport);
    taken(opening_, id);
    transports_[id] = transport;
    report(id, "Connected · " + std::to_string(count) + " tools");
    AppLog::mcp.info("MCP initialization and tool discovery completed");
}

Task<StdioTransport::Secrets> MCPManager::readSecrets(std::map<std::string, std::string> accounts) {
    StdioTransport::Secrets secrets;
    for (const auto& [variable, account] : accounts) {
        std::optional<Secret> secret = co_await keychain_->get(account);
        if (!secret) throw AppError::configuration("A required MCP credential is missing from Keychain.");
        secrets.emplace(variable, std::move(*secret));
    }
    co_return secrets;
}

void MCPManager::registerTools(const std::string& id, std::vector<MCPToolDescription> tools,
                               const std::shared_ptr<StdioTransport>& transport) {
    const std::string prefix = MCPToolAdapter::prefix(id);
    // An identifier may go on where another ends ("a" and "a.b"). Each of the two servers could then take the names of
    // the other's tools, and to remove the one's tools would remove the other's.
    for (const auto& [other, connected] : transports_) {
        const std::string taken = MCPToolAdapter::prefix(other);
        if (taken.starts_with(prefix) || prefix.starts_with(taken)) {
            throw AppError::configuration("A tool with this name is already registered.");
        }
    }
    try {
        for (MCPToolDescription& tool : tools)
            registry_.registerTool(std::make_shared<MCPToolAdapter>(id, std::move(tool), transport));
    } catch (...) {
        registry_.remove(prefix);
        throw;
    }
}

Task<> MCPManager::disconnect(MCPServerConfiguration configuration) {
    VELMORA_ASSERT_MAIN();
    co_await disconnect(std::move(configuration.id));
}

Task<> MCPManager::disconnect(std::string id) {
    sessions_.erase(id);
    const auto opening = taken(opening_, id);
    const auto connected = taken(transports_, id);
    if (connected) registry_.remove(MCPToolAdapter::prefix(id));
    co_await closeFully(opening);
    co_await closeFully(connected);
    report(id, "Disconnected");
}

Task<> MCPManager::remove(MCPServerConfiguration configuration) {
    VELMORA_ASSERT_MAIN();
    co_await disconnect(configuration.id);
    co_await repository_.remove(configuration.id);
    std::erase_if(configurations_, [&](const auto& other) { return other.id == configuration.id; });
    changed_.emit();
}

Task<> MCPManager::stop() {
    VELMORA_ASSERT_MAIN();
    isStopped_ = true;
    std::set<std::string> ids;
    for (const auto& configuration : configurations_)
        ids.insert(configuration.id);
    for (const auto* const transports : {&opening_, &transports_}) {
        for (const auto& [id, transport] : *transports)
            ids.insert(id);
    }
    // All at once: each can take more than half a second.
    std::vector<TaskHandle> endings;
    endings.reserve(ids.size());
    for (const std::string& id : ids)
        endings.push_back(spawn(main_, [this, id] { return disconnect(id); }));
    for (const TaskHandle& ending : endings)
        co_await ending.finished();
}

bool MCPManager::isCurrent(const std::string& id, std::uint64_t session) const {
    const auto found = sessions_.find(id);
    return found != sessions_.end() && found->second == session;
}

void MCPManager::report(const std::string& id, std::string line) {
    status_[id] = std::move(line);
    changed_.emit();
}

}  // namespace velmora
