#include "app/mcp/MCPFault.h"

namespace velmora {

std::string_view description(MCPFault fault) {
    switch (fault) {
        case MCPFault::notJSON:
            return "it wrote a line to standard output that is not JSON";
        case MCPFault::notVersion2:
            return "it wrote a message that is not JSON-RPC 2.0";
        case MCPFault::tooLong:
            return "it wrote more than 8000000 bytes at once";
        case MCPFault::timedOut:
            return "it did not answer a request within 20 seconds";
        case MCPFault::outputEnded:
            return "its standard output ended";
        case MCPFault::inputRefused:
            return "it does not take input";
    }
    return "it failed";
}

}  // namespace velmora
