// JSON values as text.

#include "core/json/JSONValue.h"
#include "core/text/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace velmora {
namespace {

void write(const JSONValue& value, std::string& out);

void write(std::nullptr_t, std::string& out) {
    out += "null";
}

void write(bool flag, std::string& out) {
    out += flag ? "true" : "false";
}

void write(double number, std::string& out) {
    if (!std::isfinite(number)) throw JSONError("A number is not finite.");
    std::array<char, 32> digits{};
    char* const begin = digits.data();
    char* const end = begin + digits.size();
    const bool integral = std::trunc(number) == number && std::abs(number) < 9e18;
    const auto written =
        integral ? std::to_chars(begin, end, static_cast<std::int64_t>(number)) : std::to_chars(begin, end, number);
    out.append(begin, written.ptr);
}

constexpr std::uint64_t eachByte = 0x0101010101010101U;
constexpr std::uint64_t highBits = eachByte << 7U;

/// Whether one of the eight bytes is written with a backslash: a quotation mark, a backslash, a control character.
bool hasEscaped(std::uint64_t bytes) {
    // Taking n from a byte sets its highest bit, where that was not set, only if the byte is below n.
    const auto anyBelow = [](std::uint64_t eight, unsigned n) { return (eight - eachByte * n) & ~eight & highBits; };
    const std::uint64_t found =
        anyBelow(bytes, 0x20) | anyBelow(bytes ^ (eachByte * '"'), 1) | anyBelow(bytes ^ (eachByte * '\\'), 1);
    return found != 0;
}

bool isEscaped(char c) {
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

/// Where the first character at or after `at` is that is written with a backslash. `high` gets the highest bits of the
/// bytes before it.
std::size_t findEscaped(std::string_view text, std::size_t at, std::uint64_t& high) {
    for (std::uint64_t bytes = 0; at + sizeof(bytes) <= text.size(); at += sizeof(bytes)) {
        std::memcpy(&bytes, text.data() + at, sizeof(bytes));
        if (hasEscaped(bytes)) break;
        high |= bytes & highBits;
    }
    for (; at < text.size() && !isEscaped(text[at]); ++at)
        high |= static_cast<unsigned char>(text[at]) & 0x80U;
    return at;
}

void writeEscaped(char c, std::string& out) {
    constexpr std::string_view hex = "0123456789abcdef";
    out += '\\';
    if (c == '"' || c == '\\') {
        out += c;
    } else if (c == '\n') {
        out += 'n';
    } else {
        const auto byte = static_cast<unsigned char>(c);
        out += "u00";
        out += hex[byte >> 4U];
        out += hex[byte & 0xFU];
    }
}

/// Growing as texts do, by doubling, would hold a text of megabytes up to three times.
void makeRoom(std::size_t textBytes, std::string& out) {
    constexpr std::size_t large = std::size_t{1} << 16U;
    if (textBytes < large) return;
    const std::size_t escapes = textBytes / 16;  // one for each line or quotation mark
    out.reserve(out.size() + textBytes + escapes);
}

void write(const std::string& text, std::string& out) {
    const std::size_t start = out.size();
    std::uint64_t high = 0;
    makeRoom(text.size(), out);
    out += '"';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t end = findEscaped(text, at, high);
        out.append(text, at, end - at);
        at = end;
        if (at < text.size()) writeEscaped(text[at], out);
    }
    out += '"';
    if (high == 0 || text::isValidUtf8(text)) return;
    out.resize(start);
    write(text::validUtf8(text), out);
}

void write(const JSONValue::Array& elements, std::string& out) {
    out += '[';
    const char* separator = "";
    for (const JSONValue& element : elements) {
        out += std::exchange(separator, ",");
        write(element, out);
    }
    out += ']';
}

void write(const JSONValue::Object& members, std::string& out) {
    out += '{';
    const char* separator = "";
    for (const auto& [key, member] : members) {
        out += std::exchange(separator, ",");
        write(key, out);
        out += ':';
        write(member, out);
    }
    out += '}';
}

void write(const JSONValue& value, std::string& out) {
    std::visit([&](const auto& contents) { write(contents, out); }, value.payload());
}

}  // namespace

std::string JSONValue::encodedString() const {
    std::string text;
    write(*this, text);
    return text;
}

}  // namespace velmora
