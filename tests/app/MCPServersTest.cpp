#include "app/mcp/MCPManager.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "tests/fakes/FakeCredentialStore.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <list>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr const char* disconnected = "The MCP server disconnected.";

/// The manager and its connections over real processes of a server that misbehaves as told.
class MCPServersTest : public testing::Test {
  protected:
    ~MCPServersTest() override {
        stop();
        pool.stop();  // what still runs must not find the clock and the processes gone
    }

    static MCPServerConfiguration server(const std::string& told = "{}", const std::string& id = "A") {
        return {.id = id, .name = "Fake", .command = VELMORA_PYTHON, .args = {"-I", VELMORA_FAKE_SERVER, told}};
    }
    /// What becomes of it will be in `outcome`.
    TaskHandle beginConnect(std::string& outcome, const MCPServerConfiguration& configuration) {
        return loop.start(outcome, [this, configuration]() -> Task<std::string> {
            co_await manager.connect(configuration);
            co_return "connected";
        });
    }
    /// The JSON text of the result, or what the call failed with, will be in `outcome`.
    TaskHandle beginCall(std::string& outcome, const std::string& tool, const std::string& input) {
        return loop.start(outcome, [this, tool, value = JSONValue::parse(input)]() -> Task<std::string> {
            const ToolResult result = co_await registry.call("mcp." + tool, value);
            co_return result.value.encodedString();
        });
    }
    std::string connect(const MCPServerConfiguration& configuration = server()) {
        return outcomeOf([&](std::string& outcome) { return beginConnect(outcome, configuration); });
    }
    std::string call(const std::string& tool, const std::string& input = "{}") {
        return outcomeOf([&](std::string& outcome) { return beginCall(outcome, tool, input); });
    }
    JSONValue surroundings(const std::string& id = "A") { return JSONValue::parse(call(id + ".surroundings")); }
    /// Ends something, and lets the time pass that it may take.
    void end(const std::function<Task<>()>& work) {
        const TaskHandle task = spawn(loop.executor(), work);
        loop.until([&] {
            clock.advance(10ms);
            return task.done();
        });
    }
    void disconnect(const MCPServerConfiguration& configuration = server()) {
        end([&] { return manager.disconnect(configuration); });
    }
    void stop() {
        end([this] { return manager.stop(); });
    }
    Texts tools() {
        Texts names;
        for (const ToolDefinition& definition : registry.definitions())
            names.push_back(definition.name);
        return names;
    }
    /// Whether any process of a server still runs. One that nobody has waited for yet is there but does not.
    static bool anyRuns(const JSONValue& surroundings) {
        return std::ranges::any_of(*surroundings["pids"].array(), [](const JSONValue& pid) {
            std::ifstream file("/proc/" + pid.encodedString() + "/stat");
            const std::string status(std::istreambuf_iterator<char>(file), {});
            return !status.empty() && status.find(") Z ") == std::string::npos;
        });
    }
    [[nodiscard]] bool wasSent(const std::string& text) const {
        std::ifstream file(folder.path() + "/log");
        return std::string(std::istreambuf_iterator<char>(file), {}).find(text) != std::string::npos;
    }

    TestLoop loop;
    TemporaryFolder folder;
    WorkerPool pool{3};
    ManualClock clock;
    LinuxChildProcesses processes{pool.executor(), folder.path()};
    FakeCredentialStore store;
    ToolRegistry registry{[this](const ToolDefinition&, const JSONValue&) -> Task<> {
        ++approvals;
        co_return;
    }};
    int approvals = 0;
    std::shared_ptr<Database> database =
        loop.run([this] { return Database::open(folder.path() + "/velmora.sqlite", pool.executor()); });
    MCPManager manager{loop.executor(),
                       {pool.executor(), clock, processes, folder.path()},
                       registry,
                       std::make_shared<KeychainService>(store, pool.executor()),
                       MCPServerRepository(database)};
    const std::string logging = R"("log":")" + folder.path() + R"(/log"})";

  private:
    template <class Begin>
    std::string outcomeOf(Begin begin) {
        std::string outcome;
        const TaskHandle task = begin(outcome);
        loop.until([&] { return task.done(); });
        return outcome;
    }
};

TEST_F(MCPServersTest, AConnectedServersToolsAreTheAssistants) {
    EXPECT_EQ(connect(), "connected");
    EXPECT_EQ(manager.status().at("A"), "Connected · 7 tools");
    const auto definitions = registry.definitions();
    EXPECT_EQ(definitions[0].description, "ask");
    EXPECT_EQ(definitions[2],
              (ToolDefinition{"mcp.A.echo", "Says it again", JSONValue::parse(R"({"required":["text"]})"),
                              ToolPermission::destructive, false}));
    for (const char* const result : {R"({"content":[],"isError":false,"text":"é"})", R"({"isError":"true","text":1})"})
        EXPECT_EQ(call("A.echo", result), result);
    EXPECT_EQ(call("A.echo", R"({"isError":true,"text":1})"), "The MCP tool reported an execution error.");
    EXPECT_EQ(approvals, 3);
    const JSONValue first = surroundings();
    EXPECT_EQ(connect(), "connected") << "anew";
    EXPECT_FALSE(anyRuns(first));
    const JSONValue second = surroundings();
    loop.run([&] { return manager.disconnect(server()); });  // no time passes: nobody is waited for who ends by himself
    EXPECT_EQ(manager.status().at("A"), "Disconnected");
    EXPECT_EQ(tools(), Texts{});
    EXPECT_FALSE(anyRuns(second));
}

TEST_F(MCPServersTest, AServerGetsNothingButWhatIsConfigured) {
    setenv("SECRET_TOKEN", "not for servers", 1);
    MCPServerConfiguration configuration = server();
    configuration.args.insert(configuration.args.end(), {"two words", "$HOME; `id`", ""});
    configuration.env = {{"LANG", "C"}, {"KEY", "plain"}, {"A", "b"}};
    configuration.secretEnvironment = {{"KEY", "account"}};
    store.items = {{"account", "s=t"}};
    EXPECT_EQ(connect(configuration), "connected");
    const JSONValue seen = surroundings();
    JSONValue::Object environment = *seen["environment"].object();
    environment.erase("LC_CTYPE");  // the interpreter's own
    const std::string path = R"("PATH":"/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin")";
    EXPECT_EQ(JSONValue(environment), JSONValue::parse(R"({"A":"b","KEY":"s=t","LANG":"C",)" + path + R"(,"HOME":")" +
                                                       folder.path() + R"("})"));
    EXPECT_EQ(seen["arguments"], JSONValue::parse(R"(["two words","$HOME; `id`",""])"));
}

TEST_F(MCPServersTest, ConnectsOrSaysWhyNot) {
    std::string many = R"({"pages":[)";
    for (int page = 1; page < 20; ++page)
        many += R"([25,"c)" + std::to_string(page) + R"("],)";
    const std::string unsupported = "This MCP protocol version is not supported.";
    const std::string generic = "The operation could not be completed. Please try again or check permissions.";
    const std::string tool = R"({"name":"a","inputSchema":{}})";
    std::vector<std::pair<MCPServerConfiguration, std::string>> cases;
    for (const auto& [told, status] : std::vector<std::pair<std::string, std::string>>{
             {R"({"initialize":{"protocolVersion":"2024-11-05"}})", "Connected · 7 tools"},
             {R"({"initialize":{"protocolVersion":"2024-10-07"}})", unsupported},
             {R"({"initialize":null})", unsupported},
             {R"({"list":{"tools":[]}})", "Connected · 0 tools"},
             {R"({"list":{"tools":[)" + tool + R"(,{"name":"b"}]}})", generic},
             {R"({"list":{"tools":[)" + tool + "," + tool + "]}}", "A tool with this name is already registered."},
             {R"({"list":{"tools":[{"name":"","inputSchema":7},{"name":"\u0000 ../","inputSchema":[]}]}})",
              "Connected · 2 tools"},
             {many + "[25,null]]}", "Connected · 500 tools"},
             {many + "[26,null]]}", "The server exceeds the 500-tool limit."},
             {R"({"pages":[[501,"a"]]})", "The server exceeds the 500-tool limit."},
             {many + R"([25,"more"]]})", "The server returned too many tool pages."},
             {R"({"pages":[[1,"a"],[1,"b"],[1,"a"]]})", "The server repeated a pagination cursor."},
             {"not JSON", disconnected}})
        cases.emplace_back(server(told), status);
    const std::string plain = folder.write("plain", "");
    for (const std::string& command : {std::string("node"), std::string(), plain, folder.path(), plain + "/none"}) {
        cases.emplace_back(server(), "Select an absolute path to an executable, such as /opt/homebrew/bin/node.");
        cases.back().first.command = command;
    }
    cases.emplace_back(server(), "Streamable HTTP is reserved for a future release. Use stdio.");
    cases.back().first.transport = MCPServerConfiguration::Transport::streamableHTTP;
    cases.emplace_back(server(), "A required MCP credential is missing from Keychain.");
    cases.back().first.secretEnvironment = {{"KEY", "none"}};
    for (const auto& [configuration, status] : cases) {
        const bool connects = status.starts_with("Connected");
        EXPECT_EQ(connect(configuration) == "connected", connects) << status;
        EXPECT_EQ(manager.status().at("A"), status) << configuration.args.back();
        EXPECT_EQ(tools().empty(), !connects || status.find(" 0 ") != std::string::npos) << status;
    }
}

TEST_F(MCPServersTest, AnswersFindTheirCallsThroughNoise) {
    EXPECT_EQ(connect(), "connected");
    EXPECT_EQ(call("A.ask", R"({"jsonrpc":"2.0","id":"x","method":"sampling/createMessage","params":{}})"),
              R"({"error":{"code":-32601,"message":"Client capability not supported"},"id":"x","jsonrpc":"2.0"})");
    std::string never;
    const TaskHandle unanswered = beginCall(
        never, "A.write", R"({"text":"{\"jsonrpc\":\"2.0\",\"method\":\"notifications/x\"}\n","times":100000})");
    const std::size_t empty = std::string(R"({"id":1,"jsonrpc":"2.0","method":"tools/call","params":)"
                                          R"({"arguments":{"text":""},"name":"echo"}})")
                                  .size();
    const auto text = [&](std::size_t bytes) { return R"({"text":")" + std::string(bytes - empty, 'x') + R"("})"; };
    EXPECT_TRUE(call("A.echo", text(999'999)) == text(999'999));
    EXPECT_EQ(call("A.echo", text(1'000'000)), "The MCP request exceeds the size limit.");
    EXPECT_EQ(call("A.write", R"({"text":"\n{\"jsonrpc\":\"2.0\",\"id\":$ID,\"result\":1}\r\n"})"), "1");
    unanswered.cancel();
    loop.until([&] { return never == "cancelled"; });
}

TEST_F(MCPServersTest, AServerThatBreaksTheRulesIsGivenUp) {
    for (const auto& [tool, input] : std::vector<std::pair<const char*, const char*>>{
             {"A.write", R"({"text":"Server is ready\n"})"},
             {"A.write", R"({"text":"{\"jsonrpc\":\"1.0\",\"id\":$ID}\n"})"},
             {"A.write", R"({"text":"x","times":8000001})"},
             {"A.exit", R"({"status":3})"}}) {
        EXPECT_EQ(connect(), "connected");
        const JSONValue before = surroundings();
        EXPECT_EQ(call(tool, input), disconnected) << input;
        EXPECT_EQ(call("A.echo", R"({"text":1})"), "The MCP server is disconnected.");
        disconnect();
        EXPECT_FALSE(anyRuns(before));
    }
}

TEST_F(MCPServersTest, ACancelledCallIsWithdrawnAndDisturbsNobody) {
    std::string outcome;
    const TaskHandle handshake = beginConnect(outcome, server(R"({"silent":["initialize"],)" + logging));
    loop.until([&] { return wasSent("initialize"); });
    handshake.cancel();
    loop.until([&] { return handshake.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(connect(server("{" + logging)), "connected");
    const TaskHandle task = beginCall(outcome, "A.silent", "{}");
    loop.until([&] { return wasSent("silent"); });
    task.cancel();
    loop.until([&] { return task.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(call("A.echo", R"({"text":1})"), R"({"text":1})");
    EXPECT_TRUE(wasSent(R"("method":"notifications/cancelled","params":{"requestId":3}})"));
    EXPECT_FALSE(wasSent(R"("requestId":1)")) << "a handshake is never withdrawn";
}

TEST_F(MCPServersTest, OneCallWithoutAnAnswerEndsTheConnection) {
    std::string first;
    std::string second;
    const MCPServerConfiguration silent = server(R"({"silent":["initialize"],)" + logging);
    const TaskHandle handshake = beginConnect(first, silent);
    loop.until([&] { return clock.sleeping() > 0; });
    clock.advance(20s);
    loop.until([&] { return handshake.done(); });
    EXPECT_EQ(first, "The MCP server timed out.");
    EXPECT_FALSE(wasSent("cancelled"));
    EXPECT_EQ(connect(server("{" + logging)), "connected");
    clock.advance(60s);  // so that the cancelled waits are no longer counted
    beginCall(first, "A.silent", "{}");
    loop.until([&] { return clock.sleeping() == 1; });
    clock.advance(19s);
    beginCall(second, "A.silent", "{}");
    loop.until([&] { return clock.sleeping() == 2; });
    EXPECT_EQ(first, "");
    clock.advance(1s);
    loop.until([&] { return !second.empty(); });
    EXPECT_EQ(first, "The MCP server timed out.");
    EXPECT_EQ(second, disconnected);
    disconnect();
    EXPECT_TRUE(wasSent(R"("requestId":3)"));
}

TEST_F(MCPServersTest, AServerThatDoesNotReadHoldsNothingUp) {
    EXPECT_EQ(connect(), "connected");
    EXPECT_EQ(call("A.deaf"), "{}");
    clock.advance(60s);
    std::list<std::string> outcomes;
    for (int i = 0; i < 3; ++i)
        beginCall(outcomes.emplace_back(), "A.echo", R"({"text":")" + std::string(900'000, 'x') + R"("})");
    loop.until([&] { return clock.sleeping() == outcomes.size(); });
    disconnect();
    EXPECT_EQ(outcomes, std::list<std::string>(3, disconnected));
}

TEST_F(MCPServersTest, AConnectIsWithdrawnAndNotRunTwice) {
    const MCPServerConfiguration stalls = server(R"({"silent":["tools/list"],"stubborn":true})");
    std::string outcome;
    const TaskHandle first = beginConnect(outcome, stalls);
    loop.until([&] { return clock.sleeping() > 0; });
    EXPECT_EQ(connect(stalls), "connected") << "returns at once";
    EXPECT_EQ(manager.status().at("A"), "Connecting…");
    disconnect(stalls);
    loop.until([&] { return first.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(manager.status().at("A"), "Operation cancelled.");
    const TaskHandle second = beginConnect(outcome, stalls);
    loop.until([&] { return manager.status().at("A") == "Connecting…"; });
    stop();
    loop.until([&] { return second.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(connect(), "cancelled") << "none starts after that";
}

TEST_F(MCPServersTest, NoServerTakesTheToolsOfAnother) {
    const auto named = [](const char* id) {
        return server(R"({"list":{"tools":[{"name":"b.x","inputSchema":{}}]}})", id);
    };
    EXPECT_EQ(connect(server("{}", "a.b")), "connected");
    const Texts kept = tools();
    EXPECT_EQ(connect(named("a")), "A tool with this name is already registered.");
    disconnect(named("a"));
    EXPECT_EQ(connect(named("a.bc")), "connected");
    disconnect(named("a.bc"));
    EXPECT_EQ(tools(), kept);
}

TEST_F(MCPServersTest, AllServersEndWithWhatTheyHaveStarted) {
    std::vector<JSONValue> all;
    for (const char* const told : {R"({"leaves":true})", R"({"leaves":true,"stubborn":true})"}) {
        const std::string id = std::to_string(all.size());
        EXPECT_EQ(connect(server(told, id)), "connected");
        all.push_back(surroundings(id));
    }
    stop();
    loop.until([&] { return std::ranges::none_of(all, anyRuns); });
}

TEST_F(MCPServersTest, RemembersItsServers) {
    const auto load = [this] { loop.run([this] { return manager.load(); }); };
    const std::vector both{server("{}", "1"), server("{}", "2")};
    for (const MCPServerConfiguration& each : both)
        loop.run([&] { return manager.add(each); });
    EXPECT_TRUE(manager.status().empty()) << "never connected by itself";
    load();
    EXPECT_EQ(manager.configurations(), both);
    EXPECT_EQ(connect(both[0]), "connected");
    loop.run([&] { return manager.remove(both[0]); });
    EXPECT_EQ(tools(), Texts{});
    load();
    EXPECT_EQ(manager.configurations(), std::vector{both[1]});
    loop.run([&] { return database->execute("INSERT INTO mcp_servers VALUES('3','{}')"); });
    EXPECT_THROW(load(), JSONError);
    EXPECT_EQ(manager.configurations(), std::vector{both[1]});
}

/// Servers that others wrote, in the folder of packages that the environment names; see tests/e2e/test_mcp_servers.py.
TEST_F(MCPServersTest, ServesTheToolsOfRealServers) {
    const char* const node = std::getenv("VELMORA_NODE");
    const char* const modules = std::getenv("VELMORA_NODE_MODULES");
    if (!node || !modules) GTEST_SKIP() << "no real servers: VELMORA_NODE, VELMORA_NODE_MODULES";
    const auto real = [&](const std::string& id, const std::string& argument) {
        const std::string program = std::string(modules) + "/@modelcontextprotocol/server-" + id + "/dist/index.js";
        return MCPServerConfiguration{.id = id, .name = id, .command = node, .args = {program, argument}};
    };
    folder.write("shared/notes.txt", "remember the milk");
    const MCPServerConfiguration files = real("filesystem", folder.path() + "/shared");
    MCPServerConfiguration memory = real("memory", "");
    memory.env = {{"MEMORY_FILE_PATH", folder.path() + "/memory.jsonl"}};
    const auto path = [&](const std::string& name) { return R"({"path":")" + folder.path() + name + R"("})"; };
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(connect(files), "connected");
        EXPECT_EQ(connect(memory), "connected");
        EXPECT_NE(call("filesystem.read_text_file", path("/shared/notes.txt")).find("the milk"), std::string::npos);
        for (const std::string& refused : {path("/velmora.sqlite"), std::string(R"({"path":7})")})
            EXPECT_EQ(call("filesystem.read_text_file", refused), "The MCP tool reported an execution error.");
        const char* const entity = R"({"entities":[{"name":"Ada","entityType":"one","observations":["likes tea"]}]})";
        EXPECT_NE(call("memory.create_entities", entity).find("content"), std::string::npos);
        EXPECT_NE(call("memory.read_graph").find("likes tea"), std::string::npos);
        disconnect(files);
        EXPECT_EQ(call("filesystem.read_text_file"), "This tool is not available.");
    }
}

}  // namespace
}  // namespace velmora::test
