#pragma once

#include <string_view>

namespace velmora {

/// Why the connection to an MCP server was given up.
enum class MCPFault {
    notJSON,
    notVersion2,
    tooLong,
    timedOut,
    outputEnded,
    inputRefused,
};

/// For the log, in fixed words, so that the server can be mended.
std::string_view description(MCPFault fault);

}  // namespace velmora
