#include "core/files/FileNames.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace velmora {
namespace {

constexpr UChar32 escapeBase = 0xEF00;

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isEscape(UChar32 character) {
    return character >= escapeBase + 0x80 && character <= escapeBase + 0xFF;
}

/// Calls `take(start, end, character)` for every character and, with a negative character, for every stray byte.
template <class Take>
void eachCharacter(std::string_view text, Take take) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int64_t>(text.size());
    for (std::int64_t i = 0; i < length;) {
        const std::int64_t start = i;
        UChar32 character = 0;
        U8_NEXT(bytes, i, length, character);  // NOLINT(bugprone-inc-dec-in-conditions)
        if (character < 0) i = start + 1;
        take(static_cast<std::size_t>(start), static_cast<std::size_t>(i), character);
    }
}

}  // namespace

std::string fileNameText(std::string_view bytes) {
    if (isAscii(bytes)) return std::string(bytes);
    std::string text;
    text.reserve(bytes.size());
    eachCharacter(bytes, [&](std::size_t start, std::size_t end, UChar32 character) {
        if (character >= 0 && !isEscape(character)) {
            text.append(bytes, start, end - start);
            return;
        }
        for (std::size_t i = start; i < end; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            text += {'\xEE', static_cast<char>(0xBC | (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))};
        }
    });
    return text;
}

std::string fileNameBytes(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    std::string bytes;
    bytes.reserve(text.size());
    eachCharacter(text, [&](std::size_t start, std::size_t end, UChar32 character) {
        if (isEscape(character)) {
            bytes += static_cast<char>(character - escapeBase);
        } else {
            bytes.append(text, start, end - start);
        }
    });
    return bytes;
}

}  // namespace velmora
