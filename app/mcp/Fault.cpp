#include "app/mcp/Fault.h"

namespace velmora {

std::string_view description(Fault fault) {
    switch (fault) {
        case Fault::notJSON:
            return "it wrote a line to standard output that is not JSON";
        case Fault::notVersion2:
            return "it wrote a message that is not JSON-RPC 2.0";
        case Fault::tooLong:
            return "it wrote more than 8000000 bytes at once";
        case Fault::timedOut:
            return "it did not answer a request within 20 seconds";
        case Fault::outputEnded:
            return "its standard output ended";
        case Fault::inputRefused:
            return "it does not take input";
    }
    return "it failed";
}

}  // namespace velmora
