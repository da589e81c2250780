#pragma once

#include "app/mcp/MCPTransport.h"
#include "app/mcp/MessageReader.h"
#include "core/async/Clock.h"
#include "core/mcp/MCPModels.h"
#include "platform/ChildProcess.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// One local MCP server: its process, and the JSON-RPC spoken with it over standard input and output.
///
/// `MessageReader` makes settled calls of what the server writes; here is the process around it, the time-outs, what is
/// sent, and the end. The connection ends by `close`, by a `MCPFault`, or because a request was not answered within 20
/// seconds; every open request then fails with "The MCP server disconnected.", and nothing is ever sent again.
///
/// Runs on: any task; the work is done on an actor, one piece at a time. Lives in a `shared_ptr`. Owns: the process,
/// which goes with it, its process group included. Fails with: `AppError` (mcp).
class StdioTransport final : public MCPTransport, public std::enable_shared_from_this<StdioTransport> {
  public:
    /// What servers run on; all of it outlives the transport and its tasks.
    struct Host {
        Executor pool;
        Clock& clock;
        ChildProcesses& processes;
        std::string home;
    };
    using Secrets = std::map<std::string, Secret>;  ///< by the name of the variable

    explicit StdioTransport(Host host);
    ~StdioTransport() override;
    StdioTransport(const StdioTransport&) = delete;
    StdioTransport& operator=(const StdioTransport&) = delete;

    /// Starts the server. Call once. Fails with `AppError` (configuration) when it cannot be started as configured, and
    /// with what the platform says when the start fails.
    [[nodiscard]] Task<> start(MCPServerConfiguration configuration, Secrets secrets);

    [[nodiscard]] Task<JSONValue> request(std::string method, JSONValue params) override;
    [[nodiscard]] Task<> notify(std::string method, JSONValue params) override;
    [[nodiscard]] Task<> close() override;

  private:
    struct Call {
        std::string method;
        JSONValue params;
        std::int64_t id = 0;  // once it is open
        [[nodiscard]] bool isHandshake() const { return method == "initialize"; }
    };
    using CallPointer = std::shared_ptr<Call>;

    // All on the actor.
    [[nodiscard]] Task<> launch(ChildProcessRequest request);
    static Task<> read(std::shared_ptr<ChildProcess> process, std::weak_ptr<StdioTransport> transport);
    void begin(const CallPointer& call, const PendingCalls::Answer& answer);
    void expire(const CallPointer& call);
    void cancel(const CallPointer& call);
    void sendCancellation(const Call& call);
    void send(std::string_view message);
    [[nodiscard]] Task<> writeOut();
    void receive(std::string_view piece);
    void shutDown(std::optional<MCPFault> fault);
    [[nodiscard]] Task<> endProcess(std::optional<MCPFault> fault);

    const Host host_;
    Actor actor_;
    PendingCalls calls_;
    MessageReader messages_;
    std::shared_ptr<ChildProcess> process_;
    TaskHandle launch_;
    TaskHandle reader_;
    TaskHandle exit_;  ///< done when the process has ended
    std::shared_ptr<std::optional<int>> exitStatus_ = std::make_shared<std::optional<int>>();
    std::string unsent_;
    bool isWriting_ = false;
    bool isClosed_ = false;
    TaskHandle closing_;
};

}  // namespace velmora
