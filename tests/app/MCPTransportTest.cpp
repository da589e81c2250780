#include "core/AppError.h"
#include "tests/app/MCPFixture.h"

#include <filesystem>
#include <list>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using Transport = std::shared_ptr<StdioTransport>;

constexpr const char* disconnected = "The MCP server disconnected.";
constexpr const char* isDisconnected = "The MCP server is disconnected.";

class MCPTransportTest : public MCPTest {
  protected:
    Transport start(const MCPServerConfiguration& configuration,
                    const std::map<std::string, std::string>& secrets = {}) {
        auto transport = std::make_shared<StdioTransport>(host);
        loop.run([&] {
            StdioTransport::Secrets given;
            for (const auto& [name, value] : secrets)
                given.emplace(name, value);
            return transport->start(configuration, std::move(given));
        });
        return transport;
    }

    /// The JSON text of the result, or what the request failed with, will be in `outcome`.
    TaskHandle request(const Transport& transport, std::string& outcome, const std::string& method, JSONValue params) {
        return loop.start(outcome, [transport, method, params = std::move(params)]() -> Task<std::string> {
            const JSONValue result = co_await transport->request(method, params);
            co_return result.encodedString();
        });
    }
    TaskHandle begin(const Transport& transport, std::string& outcome, const char* tool, const std::string& arguments) {
        return request(transport, outcome, "tools/call",
                       JSONValue::Object{{"name", tool}, {"arguments", JSONValue::parse(arguments)}});
    }
    std::string call(const Transport& transport, const char* tool, const std::string& arguments) {
        std::string outcome;
        const TaskHandle task = begin(transport, outcome, tool, arguments);
        loop.until([&] { return task.done(); });
        return outcome;
    }

    void close(const Transport& transport) {
        loop.run([&] { return transport->close(); });
    }

    [[nodiscard]] std::string log() const {
        std::ifstream file(folder.path() + "/log");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    const std::string logging = R"("log":")" + folder.path() + R"(/log")";
};

TEST_F(MCPTransportTest, GivesTheServerNothingButWhatIsConfigured) {
    setenv("SECRET_TOKEN", "not for servers", 1);
    MCPServerConfiguration configuration = server();
    configuration.args.insert(configuration.args.end(), {"two words", "$HOME; `id`", ""});
    configuration.env = {{"LANG", "C"}, {"PATH", "/x"}, {"A", "b"}};
    const Transport transport = start(configuration, {{"PATH", "secret"}, {"KEY", "s=t"}});
    const JSONValue seen = JSONValue::parse(call(transport, "surroundings", "{}"));
    JSONValue::Object environment = *seen["environment"].object();
    environment.erase("LC_CTYPE");  // the interpreter's own
    EXPECT_EQ(JSONValue(environment), JSONValue::parse(R"({"A":"b","KEY":"s=t","LANG":"C","PATH":"secret","HOME":")" +
                                                       folder.path() + R"("})"));
    EXPECT_EQ(seen["arguments"], JSONValue::parse(R"(["two words","$HOME; `id`",""])"));
    const JSONValue plain = JSONValue::parse(call(start(server()), "surroundings", "{}"));
    EXPECT_EQ(plain["environment"]["PATH"], JSONValue("/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin"));
    EXPECT_EQ(plain["environment"]["LANG"], JSONValue("en_US.UTF-8"));
}

TEST_F(MCPTransportTest, StartsOnlyExecutables) {
    const std::string selectPath = "Select an absolute path to an executable, such as /opt/homebrew/bin/node.";
    const std::string plain = folder.write("plain", "");
    std::filesystem::permissions(folder.write("broken", "#!/nonexistent\n"), std::filesystem::perms::owner_all);
    const auto refusal = [&](const std::string& command, MCPServerConfiguration::Transport kind) -> std::string {
        try {
            start({.id = "1", .name = "n", .transport = kind, .command = command});
        } catch (const AppError& error) {
            return error.what();
        } catch (const std::exception&) {
            return "the platform's";
        }
        return "";
    };
    using enum MCPServerConfiguration::Transport;
    EXPECT_EQ(refusal("node", streamableHTTP), "Streamable HTTP is reserved for a future release. Use stdio.");
    for (const std::string& command : {std::string("node"), std::string(), plain, folder.path(), plain + "/none"})
        EXPECT_EQ(refusal(command, stdio), selectPath) << command;
    EXPECT_EQ(refusal(folder.path() + "/broken", stdio), "the platform's");
}

TEST_F(MCPTransportTest, MatchesAnswersHoweverTheyCome) {
    const Transport transport = start(server());
    std::list<std::string> outcomes;
    TaskHandle last;
    constexpr int count = 50;
    for (int value = 0; value < count; ++value) {
        const std::string given = R"({"until":50,"value":)" + std::to_string(value) + "}";
        last = begin(transport, outcomes.emplace_back(), "hold", given);
    }
    loop.until([&] { return std::ranges::none_of(outcomes, &std::string::empty); });
    int value = 0;
    for (const std::string& outcome : outcomes)
        EXPECT_EQ(outcome, std::to_string(value++));
    EXPECT_EQ(call(transport, "ask", R"({"jsonrpc":"2.0","id":"x","method":"sampling/createMessage","params":{}})"),
              R"({"error":{"code":-32601,"message":"Client capability not supported"},"id":"x","jsonrpc":"2.0"})");
}

TEST_F(MCPTransportTest, GivesAServerUpThatBreaksTheRules) {
    for (const char* const given :
         {R"({"text":"Server is ready\n"})", R"({"text":"{\"jsonrpc\":\"1.0\",\"id\":$ID}\n"})",
          R"({"text":"x","times":8000001})", R"({"text":"{\"jsonrpc\":\"2.0\",\"method\":\"a\"}\n?\n"})"}) {
        const Transport transport = start(server());
        const JSONValue surroundings = JSONValue::parse(call(transport, "surroundings", "{}"));
        EXPECT_EQ(call(transport, "write", given), disconnected) << given;
        EXPECT_EQ(call(transport, "echo", "{}"), isDisconnected);
        close(transport);
        EXPECT_FALSE(anyRuns(surroundings));
        EXPECT_THROW(loop.run([&] { return transport->notify("x", nullptr); }), AppError);
    }
    const Transport exits = start(server());
    EXPECT_EQ(call(exits, "exit", R"({"status":3})"), disconnected);
    EXPECT_EQ(call(exits, "echo", "{}"), isDisconnected);
}

TEST_F(MCPTransportTest, OutlivesNoiseAndFloods) {
    const Transport transport = start(server());
    const std::string ignored =
        R"({"text":"{\"jsonrpc\":\"2.0\",\"method\":\"notifications/message\"}\n","times":100000})";
    std::string never;
    const TaskHandle unanswered = begin(transport, never, "write", ignored);
    EXPECT_EQ(call(transport, "write", R"({"text":"\n{\"jsonrpc\":\"2.0\",\"id\":$ID,\"result\":1}\r\n"})"), "1");
    EXPECT_EQ(call(transport, "echo", R"({"text":"é"})"), R"({"text":"é"})");
    unanswered.cancel();
    loop.until([&] { return never == "cancelled"; });
}

TEST_F(MCPTransportTest, BoundsWhatItSends) {
    const Transport transport = start(server());
    const std::size_t empty = std::string(R"({"id":1,"jsonrpc":"2.0","method":"tools/call","params":)"
                                          R"({"arguments":{"text":""},"name":"echo"}})")
                                  .size();
    const auto outcome = [&](std::size_t bytes) {
        return call(transport, "echo", R"({"text":")" + std::string(bytes - empty, 'x') + R"("})");
    };
    EXPECT_EQ(outcome(999'999).size(), 999'999 - empty + std::string(R"({"text":""})").size());
    EXPECT_EQ(outcome(1'000'000), "The MCP request exceeds the size limit.");
    EXPECT_EQ(call(transport, "echo", "{}"), "{}");
}

TEST_F(MCPTransportTest, CancellingACallTellsTheServerAndDisturbsNobody) {
    const Transport transport = start(server(R"({"silent":["initialize"],)" + logging + "}"));
    const auto cancelled = [&](const char* method) {
        std::string outcome;
        const TaskHandle task =
            request(transport, outcome, method, JSONValue::Object{{"arguments", nullptr}, {"name", ""}});
        loop.until([&] { return log().find(method) != std::string::npos; });
        task.cancel();
        loop.until([&] { return task.done(); });
        return outcome;
    };
    EXPECT_EQ(cancelled("initialize"), "cancelled");
    EXPECT_EQ(cancelled("tools/call"), "cancelled");
    EXPECT_EQ(call(transport, "echo", "{}"), "{}");
    EXPECT_NE(log().find(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":2}})"),
              std::string::npos);
    EXPECT_EQ(log().find(R"("requestId":1)"), std::string::npos) << "a handshake is never cancelled";
    close(transport);
}

TEST_F(MCPTransportTest, OneRequestWithoutAnAnswerEndsTheConnection) {
    for (const char* const method : {"initialize", "tools/call"}) {
        const Transport transport = start(server(R"({"silent":["initialize","tools/call"],)" + logging + "}"));
        std::string outcome;
        std::string other;
        const TaskHandle first = request(transport, outcome, method, JSONValue::Object{});
        loop.until([&] { return clock.sleeping() > 0; });
        clock.advance(19s);
        const TaskHandle second = request(transport, other, "tools/call", JSONValue::Object{});
        loop.until([&] { return clock.sleeping() > 1; });
        clock.advance(1s);
        loop.until([&] { return first.done() && second.done(); });
        EXPECT_EQ(outcome, "The MCP server timed out.");
        EXPECT_EQ(other, disconnected);
        close(transport);
        clock.advance(60s);
        EXPECT_EQ(log().find("cancelled") != std::string::npos, method != std::string("initialize"));
        std::filesystem::remove(folder.path() + "/log");
    }
}

TEST_F(MCPTransportTest, AServerThatDoesNotReadHoldsNothingUp) {
    const Transport transport = start(server());
    EXPECT_EQ(call(transport, "deaf", "{}"), "{}");
    std::list<std::string> outcomes;
    for (int i = 0; i < 3; ++i)
        begin(transport, outcomes.emplace_back(), "echo", R"({"text":")" + std::string(900'000, 'x') + R"("})");
    loop.until([&] { return clock.sleeping() > outcomes.size(); });  // and the call before
    const TaskHandle closing = spawn(loop.executor(), [&] { return transport->close(); });
    waitFor(closing);
    EXPECT_EQ(outcomes, std::list<std::string>(3, disconnected));
}

TEST_F(MCPTransportTest, NothingIsLeftOfAServer) {
    // The first ends at the end of its input: no time passes on the clock that a signal waits for.
    for (const char* const told : {R"({"leaves":true})", R"({"leaves":true,"stubborn":true})"}) {
        const Transport transport = start(server(told));
        const JSONValue surroundings = JSONValue::parse(call(transport, "surroundings", "{}"));
        EXPECT_TRUE(anyRuns(surroundings));
        const TaskHandle closing = spawn(loop.executor(), [&] { return transport->close(); });
        const TaskHandle again = spawn(loop.executor(), [&] { return transport->close(); });
        if (std::string_view(told).find("stubborn") == std::string_view::npos) {
            loop.until([&] { return closing.done(); });
        } else {
            waitFor(closing);
        }
        loop.until([&] { return again.done(); });
        loop.until([&] { return !anyRuns(surroundings); });
    }
    JSONValue surroundings;
    {
        const Transport dropped = start(server(R"({"leaves":true,"stubborn":true})"));
        surroundings = JSONValue::parse(call(dropped, "surroundings", "{}"));
    }
    loop.until([&] { return !anyRuns(surroundings); });
}

}  // namespace
}  // namespace velmora::test
