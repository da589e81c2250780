#include "app/mcp/MCPManager.h"

#include "core/AppError.h"
#include "tests/app/MCPFixture.h"
#include "tests/fakes/FakeCredentialStore.h"

namespace velmora::test {
namespace {

using Names = std::vector<std::string>;

class MCPManagerTest : public MCPTest {
  protected:
    MCPManagerTest() { registry.policy.confirmWrites = false; }
    ~MCPManagerTest() override { stop(); }

    TaskHandle begin(const MCPServerConfiguration& configuration, std::string& outcome) {
        return loop.start(outcome, [this, configuration]() -> Task<std::string> {
            co_await manager.connect(configuration);
            co_return "connected";
        });
    }
    std::string connect(const MCPServerConfiguration& configuration) {
        std::string outcome;
        const TaskHandle task = begin(configuration, outcome);
        loop.until([&] { return task.done(); });
        return outcome;
    }
    void disconnect(const MCPServerConfiguration& configuration) {
        loop.run([&] { return manager.disconnect(configuration); });
    }
    void stop() {
        const TaskHandle stopping = spawn(loop.executor(), [this] { return manager.stop(); });
        waitFor(stopping);
    }
    /// The JSON text of a tool's result, or what it failed with.
    std::string call(const std::string& tool, const std::string& input) {
        std::string outcome;
        const TaskHandle task = loop.start(outcome, [&]() -> Task<std::string> {
            const ToolResult result = co_await registry.call(tool, JSONValue::parse(input));
            co_return result.value.encodedString();
        });
        loop.until([&] { return task.done(); });
        return outcome;
    }
    Names tools() {
        Names names;
        for (const ToolDefinition& definition : registry.definitions())
            names.push_back(definition.name);
        return names;
    }
    std::string statusOf(const std::string& id = "A1") {
        const auto found = manager.status().find(id);
        return found == manager.status().end() ? "" : found->second;
    }
    /// Takes what is stored anew.
    void load() {
        loop.run([this] { return manager.load(); });
    }

    std::shared_ptr<Database> database =
        loop.run([this] { return Database::open(folder.path() + "/velmora.sqlite", pool.executor()); });
    int approvals = 0;
    ToolRegistry registry{[this](const ToolDefinition&, const JSONValue&) -> Task<> {
        ++approvals;
        co_return;
    }};
    FakeCredentialStore store;
    MCPManager manager{loop.executor(), host, registry, std::make_shared<KeychainService>(store, pool.executor()),
                       MCPServerRepository(database)};
};

TEST_F(MCPManagerTest, AConnectedServersToolsAreTheAssistants) {
    MCPServerConfiguration configuration = server();
    configuration.secretEnvironment = {{"KEY", "account"}};
    store.items = {{"account", "secret"}};
    EXPECT_EQ(connect(configuration), "connected");
    EXPECT_EQ(statusOf(), "Connected · 2 tools");
    EXPECT_EQ(tools(), (Names{"mcp.A1.echo", "mcp.A1.surroundings"}));
    const auto definitions = registry.definitions();
    EXPECT_EQ(definitions[0].description, "Says it again");
    EXPECT_EQ(definitions[0].inputSchema, JSONValue::parse(R"({"required":["text"]})"));
    EXPECT_EQ(definitions[0].permission, ToolPermission::destructive);
    EXPECT_EQ(definitions[1].description, "surroundings");
    for (const char* const result : {R"({"content":[],"isError":false,"text":1})", R"({"isError":"true","text":1})"})
        EXPECT_EQ(call("mcp.A1.echo", result), result);
    EXPECT_EQ(call("mcp.A1.echo", R"({"isError":true,"text":1})"), "The MCP tool reported an execution error.");
    EXPECT_EQ(call("mcp.A1.echo", "{}"), "Required tool input is missing.");
    EXPECT_EQ(approvals, 3);
    const JSONValue first = JSONValue::parse(call("mcp.A1.surroundings", "{}"));
    EXPECT_EQ(first["environment"]["KEY"], JSONValue("secret"));
    EXPECT_EQ(connect(configuration), "connected") << "anew";
    EXPECT_FALSE(anyRuns(first));
    const JSONValue second = JSONValue::parse(call("mcp.A1.surroundings", "{}"));
    disconnect(configuration);
    EXPECT_EQ(statusOf(), "Disconnected");
    EXPECT_EQ(tools(), Names{});
    EXPECT_FALSE(anyRuns(second));
}

TEST_F(MCPManagerTest, ConnectsOrSaysWhyNot) {
    std::string many = R"({"pages":[)";
    for (int page = 1; page < 20; ++page)
        many += R"([25,"c)" + std::to_string(page) + R"("],)";
    const std::string unsupported = "This MCP protocol version is not supported.";
    const std::string generic = "The operation could not be completed. Please try again or check permissions.";
    const struct {
        std::string told;
        std::string status;
    } cases[] = {
        {R"({"initialize":{"protocolVersion":"2024-11-05"}})", "Connected · 2 tools"},
        {R"({"initialize":{"protocolVersion":"2024-10-07"}})", unsupported},
        {R"({"initialize":{"protocolVersion":20241105}})", unsupported},
        {R"({"initialize":null})", unsupported},
        {R"({"list":{"tools":[]}})", "Connected · 0 tools"},
        {R"({"list":{}})", generic},
        {R"({"list":{"tools":[{"name":"a","inputSchema":{}},{"name":"b"}]}})", generic},
        {R"({"list":{"tools":[{"name":"a","inputSchema":{}},{"name":"a","inputSchema":{}}]}})",
         "A tool with this name is already registered."},
        {R"({"list":{"tools":[{"name":"","inputSchema":7},{"name":"\u0000 ../\u202e","inputSchema":[]}]}})",
         "Connected · 2 tools"},
        {many + "[25,null]]}", "Connected · 500 tools"},
        {many + "[26,null]]}", "The server exceeds the 500-tool limit."},
        {R"({"pages":[[501,"a"]]})", "The server exceeds the 500-tool limit."},
        {many + R"([25,"more"]]})", "The server returned too many tool pages."},
        {R"({"pages":[[1,"a"],[1,"b"],[1,"a"]]})", "The server repeated a pagination cursor."},
        {"not JSON", "The MCP server disconnected."},
    };
    for (const auto& [told, status] : cases) {
        const bool connects = status.starts_with("Connected");
        EXPECT_EQ(connect(server(told)) == "connected", connects) << told;
        EXPECT_EQ(statusOf(), status) << told;
        EXPECT_EQ(tools().empty(), !connects || status.find(" 0 ") != std::string::npos) << told;
    }
    MCPServerConfiguration secret = server();
    secret.secretEnvironment = {{"KEY", "account"}};
    for (const char* const status :
         {"A required MCP credential is missing from Keychain.", "Keychain access was denied."}) {
        EXPECT_EQ(connect(secret), status);
        EXPECT_EQ(statusOf(), status);
        store.refuses = {"read"};
    }
}

TEST_F(MCPManagerTest, AConnectIsWithdrawnAndNotRunTwice) {
    const MCPServerConfiguration stalls = server(R"({"silent":["tools/list"],"stubborn":true})");
    std::string outcome;
    const TaskHandle first = begin(stalls, outcome);
    loop.until([&] { return clock.sleeping() > 0; });
    EXPECT_EQ(connect(stalls), "connected") << "returns at once";
    EXPECT_EQ(outcome, "");
    EXPECT_EQ(statusOf(), "Connecting…");
    const TaskHandle withdrawal = spawn(loop.executor(), [&] { return manager.disconnect(stalls); });
    waitFor(withdrawal);
    loop.until([&] { return first.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(statusOf(), "Operation cancelled.");
    const TaskHandle second = begin(stalls, outcome);
    loop.until([&] { return statusOf() == "Connecting…"; });
    stop();
    loop.until([&] { return second.done(); });
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(connect(server()), "cancelled") << "none starts after that";
    EXPECT_EQ(tools(), Names{});
}

TEST_F(MCPManagerTest, NoServerTakesTheToolsOfAnother) {
    const std::string named = R"({"list":{"tools":[{"name":"b.x","inputSchema":{}}]}})";
    const MCPServerConfiguration inner = server("{}", "a.b");
    EXPECT_EQ(connect(inner), "connected");
    const Names kept = tools();
    EXPECT_EQ(connect(server(named, "a")), "A tool with this name is already registered.");
    disconnect(server(named, "a"));
    EXPECT_EQ(connect(server(named, "a.bc")), "connected");
    disconnect(server(named, "a.bc"));
    EXPECT_EQ(tools(), kept);
}

TEST_F(MCPManagerTest, AllServersEndTogetherAtTheEnd) {
    std::vector<JSONValue> left;
    for (const char* const id : {"1", "2", "3"}) {
        EXPECT_EQ(connect(server(R"({"stubborn":true,"leaves":true})", id)), "connected");
        left.push_back(JSONValue::parse(call(std::string("mcp.") + id + ".surroundings", "{}")));
    }
    stop();
    loop.until([&] { return std::ranges::none_of(left, anyRuns); });
}

/// Servers that others wrote, in the folder of packages that the environment names; see tests/e2e/test_mcp_servers.py.
TEST_F(MCPManagerTest, ServesTheToolsOfRealServers) {
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
        const std::string text = call("mcp.filesystem.read_text_file", path("/shared/notes.txt"));
        EXPECT_NE(text.find("remember the milk"), std::string::npos) << text;
        for (const std::string& refused :
             {path("/velmora.sqlite"), path("/shared/none.txt"), std::string(R"({"path":7})")})
            EXPECT_EQ(call("mcp.filesystem.read_text_file", refused), "The MCP tool reported an execution error.");
        const char* const entity =
            R"({"entities":[{"name":"Ada","entityType":"person","observations":["likes tea"]}]})";
        EXPECT_NE(call("mcp.memory.create_entities", entity).find("content"), std::string::npos);
        EXPECT_NE(call("mcp.memory.read_graph", "{}").find("likes tea"), std::string::npos);
        disconnect(files);
        EXPECT_EQ(call("mcp.filesystem.read_text_file", path("/shared/notes.txt")), "This tool is not available.");
    }
}

TEST_F(MCPManagerTest, RemembersItsServers) {
    const auto add = [this](const MCPServerConfiguration& configuration) {
        loop.run([&] { return manager.add(configuration); });
    };
    const MCPServerConfiguration first = server("{}", "1");
    const MCPServerConfiguration second = server("{}", "2");
    add(first);
    add(second);
    EXPECT_THROW(add(first), AppError);
    EXPECT_EQ(statusOf("1"), "") << "never connected by itself";
    load();
    EXPECT_EQ(manager.configurations(), (std::vector{first, second}));
    EXPECT_EQ(connect(first), "connected");
    loop.run([&] { return manager.remove(first); });
    EXPECT_EQ(tools(), Names{});
    load();
    EXPECT_EQ(manager.configurations(), std::vector{second});
    loop.run([&] { return database->execute("INSERT INTO mcp_servers VALUES('3','{}')"); });
    EXPECT_THROW(load(), JSONError);
    EXPECT_EQ(manager.configurations(), std::vector{second});
}

}  // namespace
}  // namespace velmora::test
