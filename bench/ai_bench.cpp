// What the assistant's own work costs, next to the least that the same work takes.
//
// usage: ai_bench [PREFIX OF THE METRICS' NAMES]
//
// ai.json: a response of 7.9 MB read into a JSONValue and written again, next to Boost.JSON's own parse and serialize
// of the same bytes. Medians of rounds in turns; one line with tabs, as all benchmarks.

#include "bench/Measure.h"
#include "core/json/JSONValue.h"

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

}  // namespace
}  // namespace velmora::bench

int main(int count, char** words) {
    const std::string_view prefix = count > 1 ? words[1] : "";
    const auto wanted = [&](std::string_view name) { return name.starts_with(prefix); };
    if (wanted("ai.json")) velmora::bench::measureJSON();
    return 0;
}
