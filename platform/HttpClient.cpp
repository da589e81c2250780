#include "platform/HttpClient.h"

#include "core/text/URL.h"

#include <boost/asio/ip/address.hpp>

namespace velmora {

std::string HttpClient::permittedAddress(std::string_view url) {
    const auto parsed = URL::parseStrict(url);
    if (!parsed) return {};
    if (parsed->scheme == "https") return parsed->text;
    if (parsed->scheme != "http") return {};
    boost::system::error_code isName;
    const auto address = boost::asio::ip::make_address(parsed->host, isName);
    const bool isHere = isName ? parsed->host == "localhost" : address.is_loopback();
    return isHere ? parsed->text : std::string();
}

}  // namespace velmora
