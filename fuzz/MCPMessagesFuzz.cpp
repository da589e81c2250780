// Whatever a server writes, and in whatever pieces it arrives, the same calls are settled with the same answers and the
// same is replied; every reply is one line that is a message of the protocol with an id.
#include "fuzz/Fuzz.h"

#include "app/mcp/MessageReader.h"
#include "core/AppError.h"

#include <array>
#include <boost/asio/io_context.hpp>

namespace velmora::fuzz {
namespace {

struct Outcome {
    std::string replies;
    std::array<std::string, 4> answers;
    std::optional<MCPFault> fault;

    bool operator==(const Outcome&) const = default;
};

Outcome outcome(std::string_view input, std::size_t pieceBytes) {
    boost::asio::io_context loop;
    Outcome seen;
    PendingCalls calls;
    MessageReader reader(calls, [&seen](const std::string& message) {
        const JSONValue reply = JSONValue::parse(message);
        check(message.find('\n') == std::string::npos && reply["jsonrpc"] == JSONValue("2.0"));
        check(reply["id"] != JSONValue(nullptr) && reply["method"] == JSONValue(nullptr));
        seen.replies += message + "\n";
    });
    for (std::string& answer : seen.answers) {
        spawn(loop.get_executor(), [&answer, &calls]() -> Task<> {
            const auto ask = [&](const PendingCalls::Answer& waiting) { calls.open(waiting); };
            try {
                const JSONValue value = co_await PendingCalls::Answer::await(ask);
                answer = value.encodedString();
            } catch (const AppError& error) {
                answer = error.what();
            }
        });
    }
    loop.poll();
    for (std::size_t at = 0; at < input.size() && !seen.fault; at += pieceBytes)
        seen.fault = reader.receive(input.substr(at, pieceBytes));
    calls.failAll("not answered");
    loop.restart();
    loop.poll();
    return seen;
}

}  // namespace

void run(std::string_view input) {
    const Outcome whole = outcome(input, input.size() + 1);
    for (const std::string& answer : whole.answers)
        check(!answer.empty());
    check(outcome(input, 1) == whole && outcome(input, 7) == whole);
}

}  // namespace velmora::fuzz
