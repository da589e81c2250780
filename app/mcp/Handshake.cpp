#include "app/mcp/Handshake.h"

#include "core/AppError.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

namespace velmora {
namespace {

/// The first is offered.
constexpr std::string_view versions[] = {"2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"};
constexpr std::size_t maximumTools = 500;
constexpr int maximumPages = 20;

}  // namespace

Task<> initializeServer(std::shared_ptr<MCPTransport> transport) {  // NOLINT(performance-unnecessary-value-param)
    JSONValue offer = JSONValue::Object{{"protocolVersion", versions[0]},
                                        {"capabilities", JSONValue::Object{}},
                                        {"clientInfo", JSONValue::Object{{"name", "Velmora"}, {"version", "0.1.0"}}}};
    const JSONValue answer = co_await transport->request("initialize", std::move(offer));
    const std::string* const version = answer["protocolVersion"].string();
    if (!version || std::ranges::find(versions, *version) == std::end(versions)) {
        throw AppError::mcp("This MCP protocol version is not supported.");
    }
    JSONValue nothing = JSONValue::Object{};
    co_await transport->notify("notifications/initialized", std::move(nothing));
}

Task<std::vector<MCPToolDescription>> listTools(
    std::shared_ptr<MCPTransport> transport) {  // NOLINT(performance-unnecessary-value-param)
    std::vector<MCPToolDescription> all;
    std::set<std::string> seen;
    JSONValue::Object place;
    for (int pages = 1;; ++pages) {
        JSONValue params = place;
        const JSONValue answer = co_await transport->request("tools/list", std::move(params));
        MCPToolList page = MCPToolList::fromJSON(answer);
        std::ranges::move(page.tools, std::back_inserter(all));
        if (page.nextCursor && !seen.insert(*page.nextCursor).second) {
            throw AppError::mcp("The server repeated a pagination cursor.");
        }
        if (all.size() > maximumTools) throw AppError::mcp("The server exceeds the 500-tool limit.");
        if (!page.nextCursor) co_return all;
        if (pages == maximumPages) throw AppError::mcp("The server returned too many tool pages.");
        place.insert_or_assign("cursor", std::move(*page.nextCursor));
    }
}

}  // namespace velmora
