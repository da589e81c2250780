#pragma once

#include "app/mcp/MCPFault.h"
#include "core/json/JSONValue.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

/// JSON-RPC 2.0 as MCP servers speak it: one message a line. What is written here has no line feed in it.
namespace velmora::jsonrpc {

/// A server's request to us.
struct Request {
    std::string method;
    JSONValue id;
};

/// A server's answer to a request of ours.
struct Response {
    std::int64_t id = 0;
    bool isError = false;
    JSONValue result;
};

/// Nothing that we take notice of: a notification, or an answer to what we cannot have asked.
struct Ignored {};

using Message = std::variant<Ignored, Request, Response, MCPFault>;

/// What a line of the server says; a `MCPFault` when it is no message.
Message read(std::string_view line);

/// Our own messages. They fail with `JSONError` where the parameters have no JSON form.
std::string request(std::int64_t id, std::string method, JSONValue params);
std::string notification(std::string method, JSONValue params);

/// The answer to a request of the server: we are there, and can nothing else.
std::string reply(Request request);

}  // namespace velmora::jsonrpc
