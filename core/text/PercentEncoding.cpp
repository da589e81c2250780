#include "core/text/PercentEncoding.h"

namespace velmora::percent {
namespace {

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isUnreserved(char c) {
    return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

}  // namespace

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<char> escapedAt(std::string_view text, std::size_t at) {
    if (text[at] != '%' || at + 2 >= text.size() || hexValue(text[at + 1]) < 0 || hexValue(text[at + 2]) < 0)
        return std::nullopt;
    return static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2]));
}

bool mayStand(char c, std::string_view allowed) {
    return isUnreserved(c) || allowed.find(c) != std::string_view::npos;
}

bool isWritten(std::string_view text, std::string_view allowed) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!mayStand(text[i], allowed) && !escapedAt(text, i)) return false;
    }
    return true;
}

std::string encoded(std::string_view text, std::string_view allowed) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto escaped = escapedAt(text, i);
        const char c = escaped.value_or(text[i]);
        if (escaped) i += 2;
        if (isUnreserved(c) || (!escaped && mayStand(c, allowed))) {
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
        const auto escaped = escapedAt(text, i);
        result += escaped.value_or(text[i]);
        if (escaped) i += 2;
    }
    return result;
}

}  // namespace velmora::percent
