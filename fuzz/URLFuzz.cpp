// Any text either is no address or has a normal form that is read as itself, in characters that may stand in an
// address, and whose host is the one that GLib's reader of RFC 3986 finds. A quicklink shows that host.
#include "fuzz/Fuzz.h"

#include "app/services/quick/Quicklinks.h"
#include "core/AppError.h"

#include <arpa/inet.h>
#include <gio/gio.h>

#include <array>

namespace velmora::fuzz {
namespace {

void checkHost(const URL& url) {
    // Escapes in a host it decodes, or refuses. Hosts of the web have none.
    if (url.host.find('%') != std::string::npos) return check(url.scheme != "http" && url.scheme != "https");
    GUri* const uri = g_uri_parse(url.text.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    check(uri != nullptr);
    const char* const host = g_uri_get_host(uri);
    check(g_uri_get_scheme(uri) == url.scheme && (host ? host : "") == url.host);
    g_uri_unref(uri);
    if (url.host.find(':') == std::string::npos) return;
    // One text for one address.
    std::array<char, INET6_ADDRSTRLEN> other{};
    in6_addr address{};
    check(inet_pton(AF_INET6, url.host.c_str(), &address) == 1);
    check(inet_ntop(AF_INET6, &address, other.data(), other.size()) != nullptr);
    check(URL::parse(std::string("http://[") + other.data() + "]")->host == url.host);
}

}  // namespace

void run(std::string_view input) {
    const auto url = URL::parse(input);
    const auto strict = URL::parseStrict(input);
    check(!strict || strict == url);
    if (!url) return;
    check(url->text.size() <= URL::maximumBytes && url->text.starts_with(url->scheme + ":"));
    check(url->text.find_first_of(" \"<>\\^`{|}\x7F") == std::string::npos);
    check(std::ranges::all_of(url->text, [](char c) { return c > ' '; }));
    check(URL::parse(url->text) == url && URL::parseStrict(url->text) == url);
    checkHost(*url);
    try {
        const std::string link = Quicklinks::make("x", input).url;
        check(Quicklinks::validatedURL(link).text == link);
    } catch (const AppError&) {
        check(url->scheme != "http" && url->scheme != "https" && url->scheme != "file");
    }
}

}  // namespace velmora::fuzz
