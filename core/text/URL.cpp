#include "core/text/URL.h"

#include "core/text/PercentEncoding.h"

#include <unicode/bytestream.h>
#include <unicode/idna.h>
#include <boost/url/ipv4_address.hpp>
#include <boost/url/ipv6_address.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <memory>

namespace velmora {

using namespace percent;

namespace {

constexpr std::string_view subDelimiters = "!$&'()*+,;=";
constexpr std::string_view inUserInfo = "!$&'()*+,;=:";
constexpr std::string_view inPath = "!$&'()*+,;=:@/";
constexpr std::string_view inQuery = "!$&'()*+,;=:@/?";

std::string lowered(std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) { return isAlpha(c) ? static_cast<char>(c | 0x20) : c; });
    return text;
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
    const bool isPlain = std::ranges::all_of(ascii, [](char c) { return mayStand(c, subDelimiters); });
    return isPlain ? std::optional(ascii) : std::nullopt;
}

/// A number of an IPv4 address: octal after "0", hexadecimal after "0x". Too large a one is the largest.
std::optional<std::uint64_t> ipv4Number(std::string_view digits) {
    if (digits.empty()) return std::nullopt;
    int base = 10;
    if (digits.starts_with("0x")) {
        base = 16;
        digits.remove_prefix(2);
    } else if (digits.size() > 1 && digits.front() == '0') {
        base = 8;
        digits.remove_prefix(1);
    }
    if (digits.empty()) return 0;
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    if (stop != digits.data() + digits.size()) return std::nullopt;
    return error == std::errc{} ? number : std::numeric_limits<std::uint64_t>::max();
}

/// A domain in ASCII, or the IPv4 address that it stands for: whatever ends in a number is one or nothing, and
/// "127.1", "0x7f.1" and "2130706433" are all 127.0.0.1 (the URL Standard, section 3.5).
std::optional<std::string> domainOrAddress(std::string domain) {
    std::string_view rest(domain);
    if (rest.ends_with('.')) rest.remove_suffix(1);
    const std::string_view last = rest.substr(rest.rfind('.') + 1);
    if (!ipv4Number(last) && (last.empty() || !std::ranges::all_of(last, isDigit))) return domain;
    std::uint64_t address = 0;
    for (int place = 3; place >= 0; --place) {
        const std::size_t dot = rest.find('.');
        const auto number = ipv4Number(rest.substr(0, dot));
        const bool isLast = dot == std::string_view::npos;
        // The last number fills all the places that are left.
        if (!number || *number >= (isLast ? std::uint64_t{1} << (8 * (place + 1)) : 256)) return std::nullopt;
        address += isLast ? *number : *number << (8 * place);
        if (isLast) return boost::urls::ipv4_address(static_cast<std::uint32_t>(address)).to_string();
        rest.remove_prefix(dot + 1);
    }
    return std::nullopt;
}

bool isReadLikeBrowsers(std::string_view scheme) {
    return scheme == "http" || scheme == "https" || scheme == "file";
}

/// The host as it stands in the address; nothing when it is none.
std::optional<std::string> normalHost(std::string_view host, std::string_view scheme) {
    if (host.starts_with('[')) {
        if (!host.ends_with(']')) return std::nullopt;
        const auto address = boost::urls::parse_ipv6_address(std::string(host.substr(1, host.size() - 2)));
        if (!address) return std::nullopt;
        return "[" + address->to_string() + "]";
    }
    if (isReadLikeBrowsers(scheme)) {
        auto domain = asciiDomain(decoded(host));
        return domain ? domainOrAddress(*std::move(domain)) : domain;
    }
    if (!isWritten(host, subDelimiters)) return std::nullopt;
    // An escape may stand for a capital letter, and is itself in capitals.
    return encoded(lowered(encoded(host, subDelimiters)), subDelimiters);
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

struct Authority {
    std::string text;
    std::string host;
};

std::optional<Authority> normalAuthority(std::string_view authority, std::string_view scheme) {
    std::string user;
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        const std::string_view typed = authority.substr(0, at);
        if (!isReadLikeBrowsers(scheme) && !isWritten(typed, inUserInfo)) return std::nullopt;
        if (!typed.empty()) user = encoded(typed, inUserInfo) + "@";
        authority.remove_prefix(at + 1);
    }
    const std::size_t hostEnd = authority.starts_with('[') ? authority.find(']') : 0;
    const std::size_t colon = authority.find(':', std::min(hostEnd, authority.size()));
    auto host = normalHost(authority.substr(0, colon), scheme);
    const auto port =
        normalPort(colon == std::string_view::npos ? std::string_view() : authority.substr(colon + 1), scheme);
    if (!host || !port) return std::nullopt;
    if (scheme == "file") {
        if (!user.empty() || !port->empty()) return std::nullopt;
        if (*host == "localhost") host->clear();
    } else if (isReadLikeBrowsers(scheme) && host->empty()) {
        return std::nullopt;
    }
    const bool isBracketed = host->starts_with('[');
    return Authority{user + *host + *port, isBracketed ? host->substr(1, host->size() - 2) : *host};
}

/// Without the segments "." and ".." (RFC 3986, section 5.2.4). `path` is empty or begins with a slash.
std::string withoutDots(std::string_view path) {
    std::string result;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view segment = path.substr(0, path.find('/'));
        path.remove_prefix(segment.size());
        // Above the top there is nothing: one stays there.
        if (segment == "..") result.erase(std::min(result.rfind('/'), result.size()));
        if (segment != ".." && segment != ".") {
            result.append("/").append(segment);
        } else if (path.empty()) {
            result += '/';
        }
    }
    return result;
}

std::string_view cutBefore(std::string_view& text, std::string_view delimiters) {
    const std::string_view head = text.substr(0, text.find_first_of(delimiters));
    text.remove_prefix(head.size());
    return head;
}

/// Cuts the authority off the front of `path`; nothing when there is none.
std::optional<std::string_view> cutAuthority(std::string_view& path, std::string_view scheme) {
    const bool isWeb = scheme == "http" || scheme == "https";
    if (!isWeb && !path.starts_with("//")) return scheme == "file" ? std::optional(std::string_view()) : std::nullopt;
    path.remove_prefix(isWeb ? std::min(path.find_first_not_of('/'), path.size()) : 2);
    return cutBefore(path, "/");
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
        if (c == '%' && !escapedAt(text, i)) return false;
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
    URL url;
    url.scheme = lowered(std::string(schemeOf(whole)));
    if (url.scheme.empty()) return std::nullopt;
    std::string_view fragment = std::string_view(whole).substr(url.scheme.size() + 1);
    std::string hierarchy(cutBefore(fragment, "?#"));
    const std::string_view query = cutBefore(fragment, "#");
    if (isReadLikeBrowsers(url.scheme)) std::ranges::replace(hierarchy, '\\', '/');
    std::string_view typedPath = hierarchy;
    const auto typedAuthority = cutAuthority(typedPath, url.scheme);
    if (!isReadLikeBrowsers(url.scheme) &&
        !(isWritten(typedPath, inPath) && isWritten(query, inQuery) &&
          isWritten(fragment.substr(std::min<std::size_t>(1, fragment.size())), inQuery)))
        return std::nullopt;
    url.text = url.scheme + ":";
    if (typedAuthority) {
        auto authority = normalAuthority(*typedAuthority, url.scheme);
        if (!authority) return std::nullopt;
        url.text += "//" + authority->text;
        url.host = std::move(authority->host);
    }
    std::string path = encoded(typedPath, inPath);
    if (isReadLikeBrowsers(url.scheme) && !path.starts_with('/')) path.insert(0, "/");
    if (path.starts_with('/')) path = withoutDots(path);
    // Two slashes would begin an authority.
    if (!typedAuthority && path.starts_with("//")) path.insert(0, "/.");
    url.text += path;
    if (!query.empty()) url.text += "?" + encoded(query.substr(1), inQuery);
    if (!fragment.empty()) url.text += "#" + encoded(fragment.substr(1), inQuery);
    return url.text.size() <= maximumBytes ? std::optional(std::move(url)) : std::nullopt;
}

}  // namespace velmora
