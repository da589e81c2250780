#include "core/text/UUID.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace velmora {

std::string newUUID() {
    std::string text = boost::uuids::to_string(boost::uuids::random_generator()());
    for (char& c : text) {
        if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

}  // namespace velmora
