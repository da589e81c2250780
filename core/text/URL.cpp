#include "core/text/URL.h"

#include <unicode/bytestream.h>
#include <unicode/idna.h>
#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>

namespace velmora {
namespace {

constexpr std::string_view subDelimiters = "!$&'()*+,;=";
constexpr std::string_view inUserInfo = "!$&'()*+,;=:";
constexpr std::string_view inPath = "!$&'()*+,;=:@/";
constexpr std::string_view inQuery = "!$&'()*+,;=:@/?";

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isUnreserved(char c) {
    return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isEscape(std::string_view text, std::size_t at) {
    return text[at] == '%' && at + 2 < text.size() && hexValue(text[at + 1]) >= 0 && hexValue(text[at + 2]) >= 0;
}

/// Percent-encodes whatever is neither unreserved, nor in `allowed`, nor an escape already.
std::string encoded(std::string_view text, std::string_view allowed) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isUnreserved(c) || allowed.find(c) != std::string_view::npos || isEscape(text, i)) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return result;
}

std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isEscape(text, i)) {
            result += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

/// The ASCII form of a domain; nothing when it has none.
std::optional<std::string> asciiDomain(const std::string& domain) {
    constexpr std::uint32_t options = UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII;
    // Names that no DNS server would take are still somebody's names at home.
    constexpr std::uint32_t forgiven = UIDNA_ERROR_EMPTY_LABEL | UIDNA_ERROR_LABEL_TOO_LONG |
                                       UIDNA_ERROR_DOMAIN_NAME_TOO_LONG | UIDNA_ERROR_LEADING_HYPHEN |
                                       UIDNA_ERROR_TRAILING_HYPHEN | UIDNA_ERROR_HYPHEN_3_4;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::IDNA> idna(icu::IDNA::createUTS46Instance(options, status));
    if (U_FAILURE(status)) return std::nullopt;
    std::string ascii;
    icu::StringByteSink<std::string> sink(&ascii);
    icu::IDNAInfo info;
    idna->nameToASCII_UTF8(domain, sink, info, status);
    if (U_FAILURE(status) || (info.getErrors() & ~forgiven) != 0) return std::nullopt;
    const bool isPlain = std::ranges::all_of(
        ascii, [](char c) { return isUnreserved(c) || subDelimiters.find(c) != std::string_view::npos; });
    return isPlain ? std::optional(ascii) : std::nullopt;
}

/// The host as it stands in the address; nothing when it is none.
std::optional<std::string> normalHost(std::string_view host) {
    if (!host.starts_with('[')) return asciiDomain(decoded(host));
    if (!host.ends_with(']')) return std::nullopt;
    const auto address = boost::urls::parse_ipv6_address(std::string(host.substr(1, host.size() - 2)));
    if (!address) return std::nullopt;
    return "[" + address->to_string() + "]";
}

/// ":port"; empty for none and for the scheme's own; nothing for what is no port.
std::optional<std::string> normalPort(std::string_view port, std::string_view scheme) {
    if (port.empty()) return std::string();
    std::uint16_t number = 0;
    const auto [stop, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (error != std::errc{} || stop != port.data() + port.size()) return std::nullopt;
    if ((scheme == "http" && number == 80) || (scheme == "https" && number == 443)) return std::string();
    return ":" + std::to_string(number);
}

std::optional<std::string> normalAuthority(std::string_view authority, std::string_view scheme) {
    std::string user;
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        if (at > 0) user = encoded(authority.substr(0, at), inUserInfo) + "@";
        authority.remove_prefix(at + 1);
    }
    const std::size_t hostEnd = authority.starts_with('[') ? authority.find(']') : 0;
    const std::size_t colon = authority.find(':', std::min(hostEnd, authority.size()));
    const auto host = normalHost(authority.substr(0, colon));
    const auto port =
        normalPort(colon == std::string_view::npos ? std::string_view() : authority.substr(colon + 1), scheme);
    if (!host || !port) return std::nullopt;
    if (scheme == "file") {
        if (!user.empty() || !port->empty()) return std::nullopt;
        return *host == "localhost" ? std::string() : *host;
    }
    if (host->empty()) return std::nullopt;
    return user + *host + *port;
}

std::string_view cutBefore(std::string_view& text, std::string_view delimiters) {
    const std::string_view head = text.substr(0, text.find_first_of(delimiters));
    text.remove_prefix(head.size());
    return head;
}

/// What follows the scheme and its colon of a web or file address, ready for a strict parser.
std::optional<std::string> normalRest(std::string_view rest, std::string_view scheme) {
    std::string hierarchy(cutBefore(rest, "?#"));
    std::ranges::replace(hierarchy, '\\', '/');
    std::string_view path = hierarchy;
    const bool isFile = scheme == "file";
    std::string_view authority;
    if (!isFile) path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    if (isFile && path.starts_with("//")) path.remove_prefix(2);
    if (!isFile || hierarchy.starts_with("//")) authority = cutBefore(path, "/");
    const auto normal = normalAuthority(authority, scheme);
    if (!normal) return std::nullopt;
    std::string result = "//" + *normal + (path.starts_with('/') ? "" : "/") + encoded(path, inPath);
    const std::string_view query = cutBefore(rest, "#");
    if (!query.empty()) result += "?" + encoded(query.substr(1), inQuery);
    if (!rest.empty()) result += "#" + encoded(rest.substr(1), inQuery);
    return result;
}

std::string_view schemeOf(std::string_view text) {
    const std::string_view scheme = text.substr(0, std::min(text.find(':'), text.size()));
    const bool isScheme = scheme.size() < text.size() && !scheme.empty() && isAlpha(scheme.front()) &&
                          std::ranges::all_of(scheme, [](char c) {
                              return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
                          });
    return isScheme ? scheme : std::string_view();
}

/// Whether there is nothing in it that stands in no address: white space, controls, delimiters of the text around one,
/// a percent sign that starts no escape.
bool hasAddressCharacters(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c <= ' ' || c == 0x7F || std::string_view("\"<>\\^`{|}").find(text[i]) != std::string_view::npos)
            return false;
        if (c == '%' && !isEscape(text, i)) return false;
    }
    return true;
}

}  // namespace

std::optional<URL> URL::parseStrict(std::string_view text) {
    if (text.size() > maximumBytes || !hasAddressCharacters(text)) return std::nullopt;
    auto url = parse(text);
    if (!url || (url->scheme != "http" && url->scheme != "https")) return url;
    const std::string_view rest = text.substr(url->scheme.size());
    return rest.starts_with("://") && !rest.starts_with(":///") ? url : std::nullopt;
}

std::optional<URL> URL::parse(std::string_view typed) {
    if (typed.size() > maximumBytes) return std::nullopt;
    std::string whole(typed);
    std::erase_if(whole, [](char c) { return c == '\t' || c == '\n' || c == '\r'; });
    std::string scheme(schemeOf(whole));
    if (scheme.empty()) return std::nullopt;
    const std::size_t colon = scheme.size();
    std::ranges::transform(scheme, scheme.begin(), [](char c) { return isAlpha(c) ? static_cast<char>(c | 0x20) : c; });
    if (scheme == "http" || scheme == "https" || scheme == "file") {
        const auto rest = normalRest(std::string_view(whole).substr(colon + 1), scheme);
        if (!rest) return std::nullopt;
        whole = scheme + ":" + *rest;
    }
    const auto parsed = boost::urls::parse_uri(whole);
    if (!parsed) return std::nullopt;
    boost::urls::url url(*parsed);
    url.normalize();
    URL result{std::string(url.buffer()), std::move(scheme), std::string(url.encoded_host_name())};
    // Above the top there is nothing: browsers stay there, the normal form of the RFC goes on asking.
    const auto path = static_cast<std::size_t>(url.encoded_path().data() - url.buffer().data());
    const std::string_view above(url.encoded_path());
    std::size_t cut = 0;
    while (above.substr(cut).starts_with("/../"))
        cut += 3;
    if (above.substr(cut) == "/..") result.text.erase(path + cut + 1, 2);
    result.text.erase(path, cut);
    if (url.host_type() == boost::urls::host_type::ipv6) result.host = url.host_ipv6_address().to_string();
    if (url.host_type() == boost::urls::host_type::ipv4) result.host = url.host_ipv4_address().to_string();
    return result;
}

}  // namespace velmora
