#include "platform/linux/clipboard/SelectionText.h"

#include "core/text/Text.h"

#include <unicode/unistr.h>

#include <cstring>
#include <vector>

namespace velmora::selectionText {
namespace {

std::string_view withoutTerminators(std::string_view bytes) {
    while (bytes.ends_with('\0'))
        bytes.remove_suffix(1);
    return bytes;
}

/// The first line that says something; taken out of `text`.
std::optional<std::string> firstLine(std::string_view text, bool skipsComments) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = text::trimmed(text.substr(0, end));
        if (!line.empty() && !(skipsComments && line.starts_with('#'))) return std::string(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> decoded(std::string_view bytes, Encoding encoding) {
    switch (encoding) {
        case Encoding::utf8:
            return fromUtf8(bytes);
        case Encoding::unnamed:
            return fromUnknown(bytes);
        case Encoding::latin1:
            return fromLatin1(bytes);
        case Encoding::addressList:
            return firstOfList(bytes);
        case Encoding::mozillaLink:
            return firstOfMozillaLink(bytes);
    }
    return std::nullopt;
}

std::string fromUtf8(std::string_view bytes) {
    return text::validUtf8(withoutTerminators(bytes));
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : withoutTerminators(bytes)) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | (code >> 6));
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

std::string fromUnknown(std::string_view bytes) {
    bytes = withoutTerminators(bytes);
    std::string valid = text::validUtf8(bytes);
    return valid == bytes ? valid : fromLatin1(bytes);
}

std::optional<std::string> firstOfList(std::string_view bytes) {
    return firstLine(fromUtf8(bytes), true);
}

std::optional<std::string> firstOfMozillaLink(std::string_view bytes) {
    std::vector<char16_t> units(bytes.size() / sizeof(char16_t));
    if (units.empty()) return std::nullopt;
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    std::string utf8;
    icu::UnicodeString(units.data(), static_cast<std::int32_t>(units.size())).toUTF8String(utf8);
    return firstLine(fromUtf8(utf8), false);
}

}  // namespace velmora::selectionText
