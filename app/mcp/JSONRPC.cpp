#include "app/mcp/JSONRPC.h"

#include <optional>
#include <utility>

namespace velmora::jsonrpc {
namespace {

constexpr int methodNotFound = -32601;

std::string written(JSONValue::Object message) {
    message.emplace("jsonrpc", "2.0");
    return JSONValue(std::move(message)).encodedString();
}

JSONValue::Object call(std::string method, JSONValue params) {
    JSONValue::Object message;
    message.emplace("method", std::move(method));
    message.emplace("params", std::move(params));
    return message;
}

std::optional<std::int64_t> requestId(const JSONValue& id) {
    constexpr double limit = 9'223'372'036'854'775'808.0;
    const auto number = id.number();
    if (!number || !(*number >= 0 && *number < limit)) return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

Message meaning(JSONValue message) {
    if (message["jsonrpc"] != JSONValue("2.0")) return MCPFault::notVersion2;
    if (const std::string* const method = message["method"].string()) {
        if (message["id"] == JSONValue(nullptr)) return Ignored{};
        return Request{*method, message["id"]};
    }
    const auto id = requestId(message["id"]);
    if (!id) return Ignored{};
    if (message["error"] != JSONValue(nullptr)) return Response{.id = *id, .isError = true, .result = {}};
    return Response{.id = *id, .isError = false, .result = std::move(message)["result"]};
}

}  // namespace

Message read(std::string_view line) {
    try {
        return meaning(JSONValue::parse(line));
    } catch (const JSONError&) {
        return MCPFault::notJSON;
    }
}

std::string request(std::int64_t id, std::string method, JSONValue params) {
    JSONValue::Object message = call(std::move(method), std::move(params));
    message.emplace("id", id);
    return written(std::move(message));
}

std::string notification(std::string method, JSONValue params) {
    return written(call(std::move(method), std::move(params)));
}

std::string reply(Request request) {
    JSONValue::Object message;
    message.emplace("id", std::move(request.id));
    if (request.method == "ping") {
        message.emplace("result", JSONValue::Object{});
    } else {
        message.emplace("error",
                        JSONValue::Object{{"code", methodNotFound}, {"message", "Client capability not supported"}});
    }
    return written(std::move(message));
}

}  // namespace velmora::jsonrpc
