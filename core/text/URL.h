#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// An absolute address in normal form.
///
/// Web and file addresses are read the way browsers read what people type (the URL Standard): backslashes count as
/// slashes, tabs and line breaks inside are dropped, what may not stand in an address is percent-encoded, a domain is
/// written in ASCII (UTS #46), one that ends in a number as the IPv4 address that it stands for, an IPv6 address in its
/// short form, a default port not at all. Beyond that they have the normal form of RFC 3986: no dot segments, no
/// needless percent-encoding, and a "%" that starts no escape is "%25". Addresses of other schemes are only normalised.
/// The normal form is read as itself. Runs on: any thread.
struct URL {
    static constexpr std::size_t maximumBytes = 32'768;

    std::string text;    ///< ASCII, at most `maximumBytes`
    std::string scheme;  ///< in lower case
    std::string host;    ///< without the brackets of an IPv6 address; empty when there is none

    bool operator==(const URL&) const = default;

    /// Nothing when `typed` has no scheme, is no address, or is too long as it is or in its normal form.
    static std::optional<URL> parse(std::string_view typed);

    /// The same for a text that was written by a program: nothing, too, when a browser would have to mend it (white
    /// space, backslashes, a "%" that starts no escape, missing or further slashes). Letters of all languages are
    /// allowed.
    static std::optional<URL> parseStrict(std::string_view text);
};

}  // namespace velmora
