// Measures the connection to MCP servers.
//
// usage: mcp_bench [PREFIX OF THE METRICS' NAMES [NODE SERVER...]]
//
// The server is this program itself, started with "--serve": it answers with the bytes it was sent and does nothing
// else. NODE SERVER is the command of a real server with many tools for mcp.connect, which is left out without one. The
// transport, the child process and the manager are the program's. Medians; one line with tabs, as all benchmarks.

#include "app/mcp/MCPManager.h"
#include "bench/Measure.h"
#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace velmora {
namespace {

constexpr int concurrentCalls = 1000;
constexpr std::size_t largeBytes = 7'900'000;

/// {"id":12,…,"params":{…}} becomes {"id":12,"jsonrpc":"2.0","result":{…}}.
std::string answer(std::string_view request) {
    const std::size_t params = request.find("\"params\":");
    const std::string id(request.substr(0, request.find(',')));
    return id + R"(,"jsonrpc":"2.0","result":)" + std::string(request.substr(params + 9)) + "\n";
}

/// A tool's answer of the largest size there is: many short texts.
std::string largeResult() {
    std::string items;
    while (items.size() < largeBytes)
        items += R"({"type":"text","text":"A line of a file, \"quoted\", with a tab\tand a name: README.md"},)";
    items.pop_back();
    return R"({"content":[)" + items + "]}";
}

void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written <= 0) std::abort();
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

int serve() {
    const std::string large = largeResult();
    std::vector<std::string> held;
    std::ios::sync_with_stdio(false);
    for (std::string line; std::getline(std::cin, line);) {
        if (line.find("\"large\"") != std::string::npos) {
            writeAll(STDOUT_FILENO, line.substr(0, line.find(',')) + R"(,"jsonrpc":"2.0","result":)" + large + "}\n");
        } else if (line.find("\"hold\"") != std::string::npos) {
            held.push_back(answer(line));
            if (held.size() < concurrentCalls) continue;
            for (; !held.empty(); held.pop_back())
                writeAll(STDOUT_FILENO, held.back());
        } else {
            writeAll(STDOUT_FILENO, answer(line));
        }
    }
    return 0;
}

/// A program and two raw pipes.
class RawServer {
  public:
    explicit RawServer(std::vector<std::string> command) {
        std::vector<char*> words;
        for (std::string& word : command)
            words.push_back(word.data());
        words.push_back(nullptr);
        int in[2];
        int out[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) std::abort();
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        if (posix_spawn(&process_, words[0], &actions, nullptr, words.data(), environ) != 0) std::abort();
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        input_ = in[1];
        output_ = out[0];
    }
    ~RawServer() {
        close(input_);
        close(output_);
        waitpid(process_, nullptr, 0);
    }
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    /// Sends a line and waits for one.
    void ask(const std::string& line) const {
        writeAll(input_, line);
        char buffer[65'536];
        for (;;) {
            const ssize_t bytes = read(output_, buffer, sizeof buffer);
            if (bytes <= 0) std::abort();
            if (buffer[bytes - 1] == '\n') return;
        }
    }

  private:
    pid_t process_ = 0;
    int input_ = -1;
    int output_ = -1;
};

class NoCredentials final : public CredentialStore {
  public:
    CredentialStatus update(const CredentialName&, const Secret&, std::stop_token) override {
        return CredentialStatus::refused;
    }
    CredentialStatus add(const CredentialName&, const Secret&, std::stop_token) override {
        return CredentialStatus::refused;
    }
    StoredCredential read(const CredentialName&, std::stop_token) override { return {CredentialStatus::refused, {}}; }
    CredentialStatus remove(const CredentialName&, std::stop_token) override { return CredentialStatus::refused; }
};

class Bench {
  public:
    void call() {
        constexpr int rounds = 2000;
        const auto transport = start();
        const JSONValue params = JSONValue::parse(R"({"name":"echo","arguments":{"text":"a short text"}})");
        const RawServer raw(command());
        std::vector<double> ours;
        std::vector<double> theirs;
        for (int round = 0; round < rounds; ++round) {
            ours.push_back(1000 * bench::milliseconds(
                                      [&] { loop_.run([&] { return transport->request("tools/call", params); }); }));
            const std::string line = jsonrpc::request(round + 1, "tools/call", params) + "\n";
            theirs.push_back(1000 * bench::milliseconds([&] { raw.ask(line); }));
        }
        bench::report("mcp.call", bench::quantile(ours, 0.5), "us", bench::quantile(theirs, 0.5));
        bench::report("mcp.call.p99", bench::quantile(ours, 0.99), "us", bench::quantile(theirs, 0.99));
        end(transport);
    }

    void concurrent() {
        std::vector<double> times;
        for (int round = 0; round < 11; ++round) {
            const auto transport = start();
            int matched = 0;
            times.push_back(bench::milliseconds([&] {
                loop_.write([&]() -> Task<> {
                    std::vector<TaskHandle> tasks;
                    for (int value = 0; value < concurrentCalls; ++value) {
                        tasks.push_back(spawn(loop_.executor(), [&, value]() -> Task<> {
                            JSONValue params = JSONValue::Object{{"value", value}};
                            const JSONValue result = co_await transport->request("hold", std::move(params));
                            if (result["value"] == JSONValue(value)) ++matched;
                        }));
                    }
                    for (const TaskHandle& task : tasks)
                        co_await task.finished();
                });
            }));
            if (matched != concurrentCalls) std::abort();
            end(transport);
        }
        bench::report("mcp.concurrent", bench::quantile(times, 0.5), "ms");
    }

    void large() {
        const auto transport = start();
        const std::string line = R"({"id":1,"jsonrpc":"2.0","result":)" + largeResult() + "}";
        std::vector<double> ours;
        std::vector<double> decoding;
        for (int round = 0; round < 21; ++round) {
            ours.push_back(bench::milliseconds(
                [&] { loop_.run([&] { return transport->request("large", JSONValue::Object{}); }); }));
            decoding.push_back(bench::milliseconds([&] { static_cast<void>(JSONValue::parse(line)); }));
        }
        bench::report("mcp.large", bench::quantile(ours, 0.5), "ms", bench::quantile(decoding, 0.5));
        end(transport);
    }

    void connect(const std::vector<std::string>& server) {
        const auto folder = std::filesystem::temp_directory_path() / ("velmora-bench-" + std::to_string(getpid()));
        std::filesystem::create_directory(folder);
        const auto database = loop_.run([&] { return Database::open(folder / "velmora.sqlite", pool_.executor()); });
        ToolRegistry registry([](const ToolDefinition&, const JSONValue&) -> Task<> { co_return; });
        NoCredentials none;
        MCPManager manager(loop_.executor(), host(), registry,
                           std::make_shared<KeychainService>(none, pool_.executor()), MCPServerRepository(database));
        const MCPServerConfiguration configuration{
            .id = "1", .name = "n", .command = server.front(), .args = {server.begin() + 1, server.end()}};
        const std::string hello = jsonrpc::request(
            1, "initialize",
            JSONValue::parse(
                R"({"protocolVersion":"2025-11-25","capabilities":{},"clientInfo":{"name":"b","version":"1"}})"));
        std::vector<double> ours;
        std::vector<double> theirs;
        for (int round = 0; round < 11; ++round) {
            ours.push_back(bench::milliseconds([&] { loop_.write([&] { return manager.connect(configuration); }); }));
            loop_.write([&] { return manager.disconnect(configuration); });
            std::optional<RawServer> raw;
            theirs.push_back(bench::milliseconds([&] { raw.emplace(server).ask(hello + "\n"); }));
        }
        bench::report("mcp.connect", bench::quantile(ours, 0.5), "ms", bench::quantile(theirs, 0.5));
        std::filesystem::remove_all(folder);
    }

    void close() {
        std::vector<double> times;
        for (int round = 0; round < 21; ++round) {
            const auto transport = start();
            loop_.run([&] { return transport->request("tools/call", JSONValue::Object{}); });
            times.push_back(bench::milliseconds([&] { end(transport); }));
        }
        bench::report("mcp.close", bench::quantile(times, 0.5), "ms");
    }

  private:
    static std::vector<std::string> command() { return {std::filesystem::read_symlink("/proc/self/exe"), "--serve"}; }

    [[nodiscard]] StdioTransport::Host host() { return {pool_.executor(), clock_, processes_, home_}; }

    std::shared_ptr<StdioTransport> start() {
        auto transport = std::make_shared<StdioTransport>(host());
        const auto words = command();
        loop_.write(
            [&] { return transport->start({.id = "1", .name = "n", .command = words[0], .args = {words[1]}}, {}); });
        return transport;
    }
    void end(const std::shared_ptr<StdioTransport>& transport) {
        loop_.write([&] { return transport->close(); });
    }

    const std::string home_ = std::filesystem::temp_directory_path();
    bench::Loop loop_;
    WorkerPool pool_{2};  // as many as the program has
    SystemClock clock_;
    LinuxChildProcesses processes_{pool_.executor(), home_};
};

}  // namespace
}  // namespace velmora

int main(int count, char** words) {
    using namespace velmora;
    const std::string_view first = count > 1 ? words[1] : "";
    if (first == "--serve") return serve();
    const auto wanted = [&](std::string_view name) { return name.starts_with(first) || first.starts_with(name); };
    Bench bench;
    if (wanted("mcp.call")) bench.call();
    if (wanted("mcp.concurrent")) bench.concurrent();
    if (wanted("mcp.large")) bench.large();
    if (wanted("mcp.close")) bench.close();
    if (wanted("mcp.connect") && count > 2) bench.connect({words + 2, words + count});
}
