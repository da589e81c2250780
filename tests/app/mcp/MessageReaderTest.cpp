#include "app/mcp/MessageReader.h"

#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmora {
namespace {

/// What three open calls and the server are told when `input` arrives in pieces of `size` bytes, and whether that was
/// the end.
std::string outcome(std::string_view input, std::size_t size) {
    test::TestLoop loop;
    PendingCalls calls;
    std::string replies;
    MessageReader reader(calls, [&](const std::string& message) { replies += message + "\n"; });
    std::vector<std::string> results(3);
    for (std::string& result : results) {
        loop.start(result, [&]() -> Task<std::string> {
            const auto ask = [&](const PendingCalls::Answer& answer) { calls.open(answer); };
            const JSONValue value = co_await PendingCalls::Answer::await(ask);
            co_return value.encodedString();
        });
    }
    loop.settle();
    std::optional<MCPFault> fault;
    for (std::size_t at = 0; at < input.size() && !fault; at += size)
        fault = reader.receive(input.substr(at, size));
    loop.settle();
    std::string all = replies;
    for (const std::string& result : results)
        all += result + "|";
    calls.failAll("open");
    loop.settle();
    return all + (fault ? std::string(description(*fault)) : "");
}

TEST(MessageReader, TakesWhatServersSayHoweverItArrives) {
    const std::string notJSON(description(MCPFault::notJSON));
    const std::string notVersion2(description(MCPFault::notVersion2));
    const std::string rejected = "The MCP server rejected the request.|";
    const auto message = [](const std::string& rest) { return R"({"jsonrpc":"2.0",)" + rest + "}\n"; };
    const struct {
        std::string input;
        std::string expected;
    } cases[] = {
        {message(R"("id":2,"result":[1])") + message(R"("id":1,"result":{})"), "{}|[1]||"},
        {"\n\n" + message(R"("id":1)") + " \t" + message(R"("id":2,"result":2)"), "null|2||"},
        {"{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":3}\r\n", "3|||"},
        {R"({"jsonrpc":"2.0","id":1,"result":"no line feed yet"})", "|||"},
        {message(R"("id":3.0,"result":1)") + message(R"("id":2.9,"result":2)"), "|2|1|"},
        {message(R"("id":-1,"result":1)") + message(R"("id":"1","result":1)") + message(R"("id":1e300,"result":1)") +
             message(R"("id":9223372036854775808,"result":1)") + message(R"("id":99,"result":1)") +
             message(R"("result":1)") + message(R"("id":null,"result":1)"),
         "|||"},
        {message(R"("id":1,"result":1)") + message(R"("id":1,"result":2)"), "1|||"},
        {message(R"("id":1,"error":null,"result":{})"), "{}|||"},
        {message(R"("id":1,"error":{"code":-1,"message":"secret"})") + message(R"("id":2,"error":0,"result":1)"),
         rejected + rejected + "|"},
        {message(R"("method":"ping","id":7)"), "{\"id\":7,\"jsonrpc\":\"2.0\",\"result\":{}}\n|||"},
        {message(R"("method":"roots/list","id":"a","result":1)"),
         R"({"error":{"code":-32601,"message":"Client capability not supported"},"id":"a","jsonrpc":"2.0"})"
         "\n|||"},
        {message(R"("method":"ping","id":null)") + message(R"("method":"notifications/tools/list_changed")"), "|||"},
        {message(R"("method":5,"id":1,"result":1)"), "1|||"},
        {message(R"("id":1,"result":1)") + "Server is ready\n" + message(R"("id":2,"result":2)"), "1|||" + notJSON},
        {"\r\n", "|||" + notJSON},
        {"{\"jsonrpc\":\"1.0\",\"id\":1,\"result\":1}\n", "|||" + notVersion2},
        {"{\"id\":1,\"result\":1}\n", "|||" + notVersion2},
        {"[{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":1}]\n", "|||" + notVersion2},
    };
    for (const auto& [input, expected] : cases) {
        for (const std::size_t size : {std::size_t{1}, std::size_t{3}, input.size()})
            EXPECT_EQ(outcome(input, size), expected) << size << ": " << input;
    }
}

TEST(MessageReader, HoldsSoMuchAndNoMore) {
    const std::string frame = R"({"jsonrpc":"2.0","id":1,"result":""})";
    const auto line = [&](std::size_t bytes) {
        std::string text = frame;
        return text.insert(text.size() - 2, std::string(bytes - frame.size(), 'x'));
    };
    constexpr std::size_t pieceBytes = 65'536;
    const std::string longest = line(LineBuffer::maximumBytes - 1) + "\n";
    EXPECT_EQ(outcome(longest, pieceBytes).size(), LineBuffer::maximumBytes - 1 - frame.size() + 5) << "one result";
    const std::string again = longest + longest;
    EXPECT_TRUE(outcome(again, longest.size()).ends_with("|||")) << "taken lines no longer count";
    for (const std::string& input : {line(LineBuffer::maximumBytes + 1), line(LineBuffer::maximumBytes) + "\n"})
        EXPECT_EQ(outcome(input, pieceBytes), "|||" + std::string(description(MCPFault::tooLong)));
}

}  // namespace
}  // namespace velmora
