#include "app/mcp/MessageReader.h"

#include <utility>
#include <variant>

namespace velmora {

std::optional<MCPFault> MessageReader::receive(std::string_view piece) {
    if (!lines_.append(piece)) return MCPFault::tooLong;
    while (const auto line = lines_.next()) {
        if (const auto fault = take(jsonrpc::read(*line))) return fault;
    }
    return std::nullopt;
}

std::optional<MCPFault> MessageReader::take(jsonrpc::Message message) {
    if (auto* const response = std::get_if<jsonrpc::Response>(&message)) {
        calls_.settle(std::move(*response));
    } else if (auto* const request = std::get_if<jsonrpc::Request>(&message)) {
        reply_(jsonrpc::reply(std::move(*request)));
    } else if (const auto* const fault = std::get_if<MCPFault>(&message)) {
        return *fault;
    }
    return std::nullopt;
}

}  // namespace velmora
