#include "app/ai/OpenAIProvider.h"
#include "app/services/KeychainService.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "platform/linux/http/CurlHttpClient.h"
#include "tests/fakes/FakeCredentialStore.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/ServerProcess.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// The provider over the real client, and a server that objects to every request that is not as it must be.
class AssistantWireTest : public testing::Test {
  protected:
    AssistantWireTest() {
        // Requests to this machine never go through a proxy.
        for (const char* const variable : {"http_proxy", "https_proxy"})
            setenv(variable, "http://127.0.0.1:9", 1);
        store.items["ai.openai"] = "sk-test-ключ";
    }
    void play(const std::string& script, bool tls = false) {
        std::filesystem::remove(folder.path() + "/seen");
        const std::string steps = folder.write("script", script);
        const std::string seen = folder.write("seen", "");
        const char* const option = tls ? "--tls" : "--plain";
        server.emplace(std::vector<const char*>{"/usr/bin/python3", VELMORA_RESPONSES_SERVER, steps.c_str(),
                                                seen.c_str(), option});
    }

    Task<ModelResponse> chat(std::vector<Message> messages, std::optional<std::string> continuation = {}) {
        OpenAIProvider provider("gpt-4.1-mini", responsesEndpoint(endpoint ? *endpoint : server->line()), keychain,
                                http, pool.executor());
        co_return co_await provider.chat(std::move(messages), tools, std::move(continuation));
    }

    std::string outcome() {
        std::string result;
        const TaskHandle task = loop.start(result, [this]() -> Task<std::string> {
            const ModelResponse response = co_await chat({});
            co_return "said: " + response.text;
        });
        loop.until([&] { return task.done(); });
        return result;
    }

    [[nodiscard]] std::vector<JSONValue> seen(std::string_view event) const {
        std::vector<JSONValue> events;
        std::ifstream file(folder.path() + "/seen");
        for (std::string line; std::getline(file, line);) {
            JSONValue value = JSONValue::parse(line);
            if (value["event"] == JSONValue(event)) events.push_back(std::move(value));
        }
        return events;
    }

    test::TestLoop loop;
    WorkerPool pool{1};
    test::TemporaryFolder folder;
    test::FakeCredentialStore store;
    std::shared_ptr<KeychainService> keychain = std::make_shared<KeychainService>(store, loop.executor());
    CurlHttpClient http;
    std::optional<test::ServerProcess> server;
    std::optional<std::string> endpoint;
    std::vector<ToolDefinition> tools{{"zeta", "last", JSONValue::schema({{"path", "where"}}, {"path"})},
                                      {"alpha", "first", JSONValue::Object{}},
                                      {"beta", "between", JSONValue::Object{}}};
};

TEST_F(AssistantWireTest, CarriesARunFromStepToStep) {
    play(R"([{"output": [{"type": "reasoning", "encrypted_content": "…"}, {"no": "type"},
                         {"type": "function_call", "name": "tool_1", "call_id": "c1", "arguments": "{\"n\":[1.5]}"}]},
             {"how": "chunked", "output": [{"type": "message", "content": [{"text": "Hel"}, {"refusal": "lo"}, {}]},
                                           {"type": "message"}, {"type": "message", "content": "?"}]},
             {"text": "", "unchecked": true}])");
    using Role = Message::Role;
    const ModelResponse first = loop.run([&] {
        return chat({{Role::system, "Be brief.", {}}, {Role::user, "\"ü\"\n", {}}, {Role::assistant, "", {}}});
    });
    const std::vector<ToolCall> expected{{"c1", "alpha", JSONValue::parse(R"({"n":[1.5]})")}};
    EXPECT_EQ(first.toolCalls, expected);
    EXPECT_EQ(first.text, "");
    const ModelResponse second = loop.run([&] { return chat({{Role::tool, "done", "c1"}}, first.continuation); });
    EXPECT_EQ(second.text, "Hello");
    EXPECT_TRUE(second.toolCalls.empty());
    for (const JSONValue& request : seen("request"))
        EXPECT_EQ(request["problems"].encodedString(), "[]");
    EXPECT_THROW(loop.run([&] { return chat({}, "{\"not\": \"an array\"}"); }), JSONError);
    loop.run([&] { return chat({{Role::tool, "lost", {}}}); });
    EXPECT_EQ(seen("request").back()["body"]["input"].encodedString(),
              R"([{"call_id":"","output":"lost","type":"function_call_output"}])");
}

TEST_F(AssistantWireTest, SaysWhatWentWrong) {
    const std::string call = R"([{"output": [{"type": "function_call", "name": "tool_0", "call_id": "c", )";
    const std::string badCall = "The model returned an invalid tool call.";
    const std::string unreachable = "Could not reach the AI provider. Check your connection.";
    const std::string notCompleted = "The model did not complete its response. Try a shorter request.";
    const std::string rejected = "The provider rejected your API key or model access.";
    const std::string notJson = "The text is not valid JSON.";
    const auto failed = [](const std::string& code) {
        return "The AI request failed (HTTP " + code + "). Check the model in Settings.";
    };
    const std::pair<std::string, std::string> cases[] = {
        {R"([{"text": "Hi", "size": 7999999}])", "said: Hi"},
        {R"([{"text": "Hi", "size": 8000000}])", "The AI response is too large."},
        {R"([{"how": "endless"}])", "The AI response is too large."},
        {R"([{"how": "endless", "status": 503}])", failed("503")},
        {R"([{"status": 401}])", rejected},
        {R"([{"status": 403, "raw": "no"}])", rejected},
        {R"([{"status": 429}])", "The provider rate limit or account quota was reached."},
        {R"([{"how": "redirect"}])", failed("307")},
        {R"([{"how": "cut", "text": "half of it"}])", unreachable},
        {R"([{"how": "reset", "text": "half of it"}])", unreachable},
        {R"([{"how": "close"}])", unreachable},
        {R"([{"how": "garbage"}])", "The AI provider returned an invalid response."},
        {R"([{"how": "gzip", "text": "packed unasked"}])", notJson},
        {R"([{"raw": "nothing"}])", notJson},
        {R"([{"raw": "[]"}])", notCompleted},
        {R"([{"raw": "{\"status\": \"completed\", \"output\": {}}"}])", notCompleted},
        {R"([{"state": "incomplete", "text": "cut short"}])", notCompleted},
        {call + R"("arguments": {}}]}])", badCall},
        {call + R"("arguments": "{"}]}])", notJson},
        {R"([{"calls": [["tool_7", {}]]}])", badCall},
        {R"([{"calls": [["alpha", {}]]}])", badCall},
    };
    for (const auto& [script, expected] : cases) {
        play(script);
        EXPECT_EQ(outcome(), expected) << script;
    }
    server->end();
    EXPECT_EQ(outcome(), unreachable);
    store.items["ai.openai"] = "sk\r\nX-Injected: 1";
    play(R"([{"text": "never"}])");
    EXPECT_EQ(outcome(), unreachable);
    for (const bool isThere : {true, false}) {
        store.items = isThere ? std::map<std::string, std::string>{{"ai.openai", ""}} : decltype(store.items){};
        EXPECT_EQ(outcome(), "Add your API key in Settings → AI first.");
    }
    store.refuses = {"read"};
    EXPECT_EQ(outcome(), "Keychain access was denied.");
    EXPECT_TRUE(seen("request").empty());
}

TEST_F(AssistantWireTest, CancellingClosesTheConnectionAndSoDoesTheClock) {
    play(R"([{"how": "stall", "text": "never", "unchecked": true}])");
    HttpRequest request;
    request.url = server->line();
    request.timeout = 200ms;
    const auto send = [&] { return http.send(std::move(request)); };
    EXPECT_THROW(loop.run(send), HttpError);
    for (const std::size_t expected : {2U, 3U}) {
        std::string result;
        const TaskHandle task =
            loop.start(result, [this]() -> Task<std::string> { co_return (co_await chat({})).text; });
        loop.until([&] { return seen("request").size() == expected; });
        expected == 2 ? task.cancel() : http.stop();
        loop.until([&] { return task.done() && seen("gone").size() == expected; });
        EXPECT_EQ(result, "cancelled");
    }
}

/// Nothing is said to a server that cannot prove who it is, and the key to no proxy.
TEST_F(AssistantWireTest, KeepsTheKeyFromOthers) {
    play(R"([{"text": "trust me"}])", true);
    setenv("no_proxy", "127.0.0.1", 1);
    const std::string unreachable = "Could not reach the AI provider. Check your connection.";
    EXPECT_EQ(outcome(), unreachable);
    play(R"([{"text": "I am a proxy"}])");
    setenv("https_proxy", server->line().c_str(), 1);
    endpoint = "https://api.example.com/v1/responses";
    EXPECT_EQ(outcome(), unreachable);
    ASSERT_EQ(seen("connect").size(), 1U);
    EXPECT_EQ(seen("connect")[0]["target"], JSONValue("api.example.com:443"));
    EXPECT_EQ(seen("connect")[0]["headers"]["Authorization"], JSONValue());
    endpoint = "http://api.example.com/v1/responses";
    EXPECT_EQ(outcome(), unreachable);
    EXPECT_TRUE(seen("request").empty());
}

TEST(HttpClient, SendsUnencryptedToThisMachineOnly) {
    for (const char* const url : {"https://a.example/v1/responses", "http://127.0.0.1:80/x", "http://127.255.0.9/x",
                                  "http://[::1]:8080/x", "http://LOCALHOST:1/x"})
        EXPECT_NE(HttpClient::permittedAddress(url), "") << url;
    for (const char* const url :
         {"", "a.example", "http://a.example/", "http://127.0.0.1.a.example/", "ftp://localhost/",
          "http://127.0.0.1@a.example/", "http://localhost.a.example/", "http://10.0.0.1/", "http://0.0.0.0/",
          "file:///etc/passwd", "https:a.example", "https://a.example/\r\nX: 1"})
        EXPECT_EQ(HttpClient::permittedAddress(url), "") << url;
}

}  // namespace
}  // namespace velmora
