#include "app/mcp/StdioTransport.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/Assert.h"
#include "core/async/Timeout.h"

#include <functional>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto requestTimeout = 20s;
constexpr auto closeGrace = 300ms;
constexpr std::size_t maximumMessageBytes = 999'999;
constexpr const char* disconnected = "The MCP server disconnected.";

/// A server gets nothing of our own environment. Secrets win over what is configured, and that over the defaults.
void setEnvironment(ChildProcessRequest& request, const std::string& home, const MCPServerConfiguration& configuration,
                    const StdioTransport::Secrets& secrets) {
    std::map<std::string, std::string> values = configuration.env;
    values.insert(
        {{"HOME", home}, {"PATH", "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin"}, {"LANG", "en_US.UTF-8"}});
    request.environment.emplace();
    for (const auto& [name, value] : values) {
        if (!secrets.contains(name)) request.environment->emplace_back(name).append("=").append(value);
    }
    request.secretEnvironment = std::make_shared<std::vector<Secret>>();
    for (const auto& [name, secret] : secrets)
        request.secretEnvironment->emplace_back(name + "=", secret.view());
}

void report(MCPFault fault, std::optional<int> exitStatus) {
    std::string line = "MCP server disconnected: ";
    line += description(fault);
    if (exitStatus) line += "; it exited with status " + std::to_string(*exitStatus);
    AppLog::mcp.error(line);
}

}  // namespace

StdioTransport::StdioTransport(Host host)
    : host_(std::move(host)), actor_(host_.pool), messages_(calls_, [this](const std::string& message) {
          // Who reads nothing is not answered for ever.
          if (!isClosed_ && unsent_.size() < LineBuffer::maximumBytes && message.size() <= maximumMessageBytes) {
              send(message);
          }
      }) {}

StdioTransport::~StdioTransport() {
    if (process_) process_->terminate(closeGrace);
}

Task<> StdioTransport::start(MCPServerConfiguration configuration, Secrets secrets) {
    const auto self = shared_from_this();
    if (configuration.transport != MCPServerConfiguration::Transport::stdio) {
        throw AppError::configuration("Streamable HTTP is reserved for a future release. Use stdio.");
    }
    bool canStart = configuration.command.starts_with('/');
    if (canStart) canStart = co_await host_.processes.isExecutable(configuration.command);
    if (!canStart) {
        throw AppError::configuration("Select an absolute path to an executable, such as /opt/homebrew/bin/node.");
    }
    ChildProcessRequest request{.executable = configuration.command, .arguments = configuration.args};
    setEnvironment(request, host_.home, configuration, secrets);
    request.hasInput = true;
    request.errors = ErrorOutput::discard;
    request.endsGroup = true;
    // A task of its own, so that `close` knows of a process that starts while the caller is cancelled.
    const auto failure = std::make_shared<std::exception_ptr>();
    const auto begin = [&] {
        if (isClosed_) throw AppError::mcp("The MCP connection is closed.");
        launch_ = spawn(actor_.executor(), [self, request, failure]() -> Task<> {
            try {
                co_await self->launch(request);
            } catch (...) {
                *failure = std::current_exception();
            }
        });
        return launch_;
    };
    const TaskHandle launching = co_await actor_.run(begin);
    co_await launching.finished();
    const std::exception_ptr failed = std::exchange(*failure, nullptr);
    if (failed) std::rethrow_exception(failed);
}

Task<> StdioTransport::launch(ChildProcessRequest request) {
    process_ = co_await host_.processes.start(std::move(request));
    exit_ = spawn(actor_.executor(), [process = process_, status = exitStatus_]() -> Task<> {
        const ChildProcessEnd end = co_await process->finished();
        *status = end.status;
    });
    reader_ = spawn(actor_.executor(), [process = process_, weak = weak_from_this()] { return read(process, weak); });
}

Task<> StdioTransport::read(std::shared_ptr<ChildProcess> process,  // NOLINT(performance-unnecessary-value-param)
                            std::weak_ptr<StdioTransport> transport) {
    for (;;) {
        const std::optional<std::string> piece = co_await process->output().next();
        const auto self = transport.lock();
        if (!self) co_return;
        if (!piece) {
            self->shutDown(MCPFault::outputEnded);
            co_return;
        }
        // Lets the other tasks of the actor in between two pieces, however fast they come.
        const auto take = [&] { self->receive(*piece); };
        co_await self->actor_.run(take);
    }
}

Task<JSONValue> StdioTransport::request(std::string method, JSONValue params) {
    const auto self = shared_from_this();
    co_await throwIfCancelled();
    const auto call = std::make_shared<Call>(Call{.method = std::move(method), .params = std::move(params)});
    const auto ask = [&](const PendingCalls::Answer& answer) {
        spawn(actor_.executor(), [self, call, answer]() -> Task<> {
            self->begin(call, answer);
            co_return;
        });
    };
    const auto withdraw = [self, call] {
        spawn(self->actor_.executor(), [self, call]() -> Task<> {
            self->cancel(call);
            co_return;
        });
    };
    co_return co_await PendingCalls::Answer::await(ask, withdraw);
}

Task<> StdioTransport::notify(std::string method, JSONValue params) {
    const auto self = shared_from_this();
    const auto work = [&] { send(jsonrpc::notification(std::move(method), std::move(params))); };
    co_await actor_.run(work);
}

Task<> StdioTransport::close() {
    const auto self = shared_from_this();
    const TaskHandle closed = spawn(actor_.executor(), [self]() -> Task<> {
        self->shutDown(std::nullopt);
        co_await self->closing_.finished();
    });
    co_await closed.finished();
}

void StdioTransport::begin(const CallPointer& call, const PendingCalls::Answer& answer) {
    VELMORA_ASSERT(actor_.isRunningHere());
    if (isClosed_ || !process_ || exit_.done()) {
        return answer.fail(std::make_exception_ptr(AppError::mcp("The MCP server is disconnected.")));
    }
    call->id = calls_.open(answer);
    std::exception_ptr failure;
    try {
        send(jsonrpc::request(call->id, call->method, std::move(call->params)));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) return calls_.fail(call->id, std::move(failure));
    calls_.guard(call->id, spawn(actor_.executor(), [call, &clock = host_.clock, weak = weak_from_this()]() -> Task<> {
                     co_await clock.sleep(requestTimeout);
                     if (const auto self = weak.lock()) self->expire(call);
                 }));
}

void StdioTransport::expire(const CallPointer& call) {
    if (!calls_.isOpen(call->id)) return;
    sendCancellation(*call);
    calls_.fail(call->id, std::make_exception_ptr(AppError::mcp("The MCP server timed out.")));
    shutDown(MCPFault::timedOut);
}

void StdioTransport::cancel(const CallPointer& call) {
    if (call->id == 0) return;  // it was refused
    sendCancellation(*call);
    calls_.fail(call->id, std::make_exception_ptr(Cancelled{}));
}

void StdioTransport::sendCancellation(const Call& call) {
    if (isClosed_ || call.isHandshake()) return;
    send(jsonrpc::notification("notifications/cancelled", JSONValue::Object{{"requestId", call.id}}));
}

void StdioTransport::send(std::string_view message) {
    VELMORA_ASSERT(actor_.isRunningHere());
    if (isClosed_) throw AppError::mcp("The MCP connection is closed.");
    if (message.size() > maximumMessageBytes) throw AppError::mcp("The MCP request exceeds the size limit.");
    unsent_ += message;
    unsent_ += '\n';
    if (std::exchange(isWriting_, true)) return;
    spawn(actor_.executor(), [self = shared_from_this()] { return self->writeOut(); });
}

Task<> StdioTransport::writeOut() {
    const auto process = process_;
    bool isRefused = !process;
    while (!isRefused && !unsent_.empty()) {
        std::string bytes = std::exchange(unsent_, {});
        try {
            co_await process->write(std::move(bytes));
        } catch (const std::exception&) {
            isRefused = true;
        }
    }
    isWriting_ = false;
    if (isRefused) shutDown(MCPFault::inputRefused);
}

void StdioTransport::receive(std::string_view piece) {
    VELMORA_ASSERT(actor_.isRunningHere());
    if (isClosed_) return;  // read all the same, so that it can come to its end
    if (const auto fault = messages_.receive(piece)) shutDown(fault);
}

void StdioTransport::shutDown(std::optional<MCPFault> fault) {
    VELMORA_ASSERT(actor_.isRunningHere());
    if (std::exchange(isClosed_, true)) return;
    calls_.failAll(disconnected);
    closing_ = spawn(actor_.executor(), [self = shared_from_this(), fault] { return self->endProcess(fault); });
}

Task<> StdioTransport::endProcess(std::optional<MCPFault> fault) {
    co_await launch_.finished();
    if (process_) {
        process_->closeInput();
        struct StillRunning {};
        const std::function<Task<bool>()> wait = [exit = exit_]() -> Task<bool> {
            co_await exit.finished();
            co_return true;
        };
        try {
            co_await withTimeout(host_.clock, closeGrace, StillRunning{}, wait);
        } catch (const StillRunning&) {
            process_->terminate(closeGrace);
        }
        co_await exit_.finished();
    }
    reader_.cancel();
    process_.reset();
    unsent_ = {};
    messages_.forget();
    if (fault) report(*fault, *exitStatus_);
}

}  // namespace velmora
