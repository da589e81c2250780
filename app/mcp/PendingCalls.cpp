#include "app/mcp/PendingCalls.h"

#include "core/AppError.h"

#include <utility>

namespace velmora {

std::int64_t PendingCalls::open(const Answer& answer) {
    calls_.emplace(++lastId_, Call{answer, {}});
    return lastId_;
}

void PendingCalls::guard(std::int64_t id, TaskHandle timeout) {
    const auto found = calls_.find(id);
    if (found == calls_.end()) return timeout.cancel();
    found->second.timeout = std::move(timeout);
}

void PendingCalls::settle(jsonrpc::Response response) {
    if (response.isError) {
        fail(response.id, std::make_exception_ptr(AppError::mcp("The MCP server rejected the request.")));
    } else if (const auto call = take(response.id)) {
        call->answer.fulfil(std::move(response.result));
    }
}

void PendingCalls::fail(std::int64_t id, std::exception_ptr failure) {
    if (const auto call = take(id)) call->answer.fail(std::move(failure));
}

void PendingCalls::failAll(const std::string& sentence) {
    while (!calls_.empty())
        fail(calls_.begin()->first, std::make_exception_ptr(AppError::mcp(sentence)));
}

std::optional<PendingCalls::Call> PendingCalls::take(std::int64_t id) {
    auto node = calls_.extract(id);
    if (node.empty()) return std::nullopt;
    node.mapped().timeout.cancel();
    return std::move(node.mapped());
}

}  // namespace velmora
