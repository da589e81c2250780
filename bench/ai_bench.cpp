// What the assistant's own work costs, next to the least that the same work takes.
//
// usage: ai_bench [PREFIX OF THE METRICS' NAMES]
//
// ai.json: a response of 7.9 MB read into a JSONValue and written again, next to Boost.JSON's own parse and serialize
// of the same bytes.
// ai.step: a step of the model, with a continuation of some ten thousand bytes and twenty tools, against a server of
// this machine that answers at once, next to sending and reading the same with nothing but the HTTP client. ai.cancel:
// from cancelling a request to the moment in which the server sees that the client has left.
//
// Medians of rounds in turns; one line with tabs, as all benchmarks.

#include "app/ai/OpenAIProvider.h"
#include "app/services/KeychainService.h"
#include "bench/LoopbackServer.h"
#include "bench/Measure.h"
#include "core/json/JSONValue.h"
#include "platform/Runtime.h"
#include "platform/linux/http/CurlHttpClient.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::bench {
namespace {

constexpr std::size_t responseBytes = 7'900'000;
constexpr int rounds = 21;

/// What a model answers: encrypted reasoning, text of several scripts with its annotations, calls whose arguments are
/// JSON within a string.
std::string response() {
    std::string encrypted = "gAAAA";
    while (encrypted.size() < 2000)
        encrypted += "Bo7kQ_x0-Zt3";
    const std::string words =
        R"(The \"Downloads\" folder holds 1,204 files.\n\n- **report.pdf** (2.4 MB), caf\u00e9 \u2014 näher am Ziel\n)"
        R"(- 最近修改的文件按大小排序\tD:\\backup\n\nWould you like me to open the largest of them? )";
    std::string text;
    for (int i = 0; i < 6; ++i)
        text += words;
    std::string items;
    for (int i = 0; items.size() < responseBytes - 500; ++i) {
        const std::string number = std::to_string(i);
        items += i == 0 ? "" : ",";
        items +=
            R"({"id":"rs_)" + number + R"(","type":"reasoning","summary":[],"encrypted_content":")" + encrypted +
            R"("},{"id":"msg_)" + number +
            R"(","type":"message","status":"completed","role":"assistant","content":[{"type":"output_text","text":")" +
            text + R"(","logprobs":[],"annotations":[{"type":"url_citation","start_index":)" + number +
            R"(,"end_index":512,"title":"A page","url":"https://example.org/page/)" + number + R"("}]}]},{"id":"fc_)" +
            number + R"(","type":"function_call","status":"completed","call_id":"call_)" + number +
            R"(","name":"tool_3","arguments":"{\"path\":\"/home/user/Documents/Report )" + number +
            R"(.pdf\",\"sort\":\"size\"}"})";
    }
    return R"({"id":"resp_1","object":"response","created_at":1741476777,"status":"completed","error":null,)"
           R"("temperature":1.0,"parallel_tool_calls":false,"usage":{"input_tokens":328,"output_tokens":1988},"output":[)" +
           items + "]}";
}

void measureJSON() {
    const std::string text = response();
    std::size_t written = 0;
    const auto ours = [&] { written += JSONValue::parse(text).encodedString().size(); };
    const auto boosts = [&] { written += boost::json::serialize(boost::json::parse(text)).size(); };
    std::vector<double> values;
    std::vector<double> references;
    for (int round = 0; round < rounds; ++round) {
        values.push_back(milliseconds(ours));
        references.push_back(milliseconds(boosts));
    }
    if (written < text.size()) std::abort();
    report("ai.json", quantile(values, 0.5), "ms", quantile(references, 0.5));
}

class OneKey final : public CredentialStore {
  public:
    CredentialStatus update(const CredentialName&, const Secret&, std::stop_token) override { return {}; }
    CredentialStatus add(const CredentialName&, const Secret&, std::stop_token) override { return {}; }
    StoredCredential read(const CredentialName&, std::stop_token) override {
        return {CredentialStatus::ok, Secret("sk-of-no-use")};
    }
    CredentialStatus remove(const CredentialName&, std::stop_token) override { return {}; }
};

/// The provider over the real client, in a run that has come some way.
struct Assistant {
    explicit Assistant(const std::string& url) : provider("gpt-4.1-mini", url, keychain, http, pool.executor()) {
        for (int i = 0; i < 20; ++i) {
            const std::string name = "tool.number" + std::to_string(i);
            tools.push_back({name, "Does what " + name + " does.", JSONValue::schema({{"path", "where"}}, {"path"})});
        }
        JSONValue::Array items;
        for (int i = 0; i < 10; ++i)
            items.push_back(JSONValue::Object{{"type", "reasoning"}, {"encrypted_content", std::string(1000, 'g')}});
        continuation = JSONValue(items).encodedString();
    }

    Task<ModelResponse> chat() {
        return provider.chat({{Message::Role::tool, "found", "call_1"}}, tools, continuation);
    }

    Loop loop;
    WorkerPool pool{2};
    OneKey store;
    std::shared_ptr<KeychainService> keychain = std::make_shared<KeychainService>(store, pool.executor());
    CurlHttpClient http;
    OpenAIProvider provider;
    std::vector<ToolDefinition> tools;
    std::string continuation;
};

void measureStep() {
    constexpr int steps = 200;
    const std::string body = R"({"status":"completed","output":[{"type":"message","content":[{"text":"Done."}]}]})";
    LoopbackServer server(body);
    Assistant assistant(server.url());
    std::vector<double> values;
    std::vector<double> references;
    for (int step = 0; step < steps; ++step) {
        values.push_back(milliseconds([&] { assistant.loop.run([&] { return assistant.chat(); }); }));
        HttpRequest request;
        request.url = server.url();
        request.body = std::string(16'000, 'x');
        request.maximumBodyBytes = 1'000'000;
        const auto send = [&] { return assistant.http.send(std::move(request)); };
        references.push_back(milliseconds([&] { assistant.loop.run(send); }));
    }
    report("ai.step", quantile(values, 0.5), "ms", quantile(references, 0.5));
    std::fprintf(stderr, "ai.step: 99 of 100 took less than %.2f ms\n", quantile(values, 0.99));
}

void measureCancel() {
    LoopbackServer server("");
    server.isSilent = true;
    Assistant assistant(server.url());
    std::vector<double> values;
    for (int round = 0; round < 100; ++round) {
        double cancelled = 0;
        server.gone = 0;
        assistant.loop.write([&]() -> Task<> {
            const int former = server.requests;
            const TaskHandle task = spawn(assistant.loop.executor(), [&]() -> Task<> { co_await assistant.chat(); });
            const TaskHandle waiting = spawn(assistant.pool.executor(), [&, former]() -> Task<> {
                while (server.requests == former)
                    std::this_thread::yield();
                co_return;
            });
            co_await waiting.finished();
            cancelled = now();
            task.cancel();
            co_await task.finished();
        });
        while (server.gone == 0)
            std::this_thread::yield();
        values.push_back((server.gone - cancelled) * 1000);
    }
    report("ai.cancel", quantile(values, 0.5), "ms");
    std::fprintf(stderr, "ai.cancel: the worst of 100 took %.2f ms\n", quantile(values, 1));
}

}  // namespace
}  // namespace velmora::bench

int main(int count, char** words) {
    const std::string_view prefix = count > 1 ? words[1] : "";
    const auto wanted = [&](std::string_view name) { return name.starts_with(prefix); };
    if (wanted("ai.json")) velmora::bench::measureJSON();
    if (wanted("ai.step")) velmora::bench::measureStep();
    if (wanted("ai.cancel")) velmora::bench::measureCancel();
    return 0;
}
