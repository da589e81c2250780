#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The characters of addresses (RFC 3986, section 2). Those that are unreserved may stand anywhere; `allowed` are the
/// others that may stand in one part of an address. Everything else is written as an escape: "%" and two hexadecimal
/// digits for each byte. Runs on: any thread.
namespace velmora::percent {

bool isAlpha(char c);
bool isDigit(char c);

/// Whether `c` is unreserved or in `allowed`.
bool mayStand(char c, std::string_view allowed);

/// The byte that an escape at that place stands for; nothing when none begins there.
std::optional<char> escapedAt(std::string_view text, std::size_t at);

/// Whether there is nothing but characters that may stand, and escapes.
bool isWritten(std::string_view text, std::string_view allowed);

/// Writes whatever may not stand as an escape, a "%" that begins none included. Escapes that are there already come out
/// in capital letters and only where they are needed (section 6.2.2).
std::string encoded(std::string_view text, std::string_view allowed);

/// With every escape replaced by its byte.
std::string decoded(std::string_view text);

}  // namespace velmora::percent
