#include "core/text/Invisible.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace velmora::text {
namespace {

/// More than this many on one letter are there to cover the lines around it.
constexpr int mostAccents = 4;

bool hasNoLook(UChar32 character) {
    switch (u_charType(character)) {
        case U_CONTROL_CHAR:
        case U_FORMAT_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
        case U_PRIVATE_USE_CHAR:
        case U_UNASSIGNED:
            return true;
        default:
            return u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0;
    }
}

bool isAccent(UChar32 character) {
    return (U_GET_GC_MASK(character) & (U_GC_MN_MASK | U_GC_ME_MASK)) != 0;
}

std::string mark(UChar32 character) {
    std::array<char, 24> name{};
    std::snprintf(name.data(), name.size(), "‹U+%04X›", static_cast<unsigned>(character));
    return name.data();
}

}  // namespace

bool deceives(char32_t character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069) ||
           (character >= 0x2060 && character <= 0x2064) || (character >= 0xFFF9 && character <= 0xFFFB) ||
           character == 0x00AD || character == 0x180E || character == 0x200B || character == 0xFEFF ||
           character < 0x20 || (character >= 0x7F && character < 0xA0);
}

std::string revealed(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    int accents = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, text.size(), character);
        accents = character >= 0 && isAccent(character) ? accents + 1 : 0;
        if (character < 0) {
            shown += "\uFFFD";
        } else if (character != '\n' && (hasNoLook(character) || accents > mostAccents)) {
            shown += mark(character);
        } else {
            shown += text.substr(start, at - start);
        }
    }
    return shown;
}

}  // namespace velmora::text
