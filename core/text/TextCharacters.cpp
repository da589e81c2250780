// The characters that users see: grapheme clusters (UAX #29).

#include "core/text/Text.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>

#include <memory>
#include <optional>

namespace velmora::text {
namespace {

/// Where the first `count` characters end, as long as they and the next are of the kind that never joins its
/// neighbours: below U+0300, where marks begin, all but the line breaks of two.
std::optional<std::size_t> endOfSimple(std::string_view text, std::size_t count) {
    std::size_t at = 0;
    while (at < text.size()) {
        const auto first = static_cast<unsigned char>(text[at]);
        if (first == '\r' || first >= 0xCC) return std::nullopt;
        const std::size_t size = first < 0x80 ? 1 : 2;
        if (size == 2) {
            const bool whole =
                first >= 0xC2 && at + 1 < text.size() && (static_cast<unsigned char>(text[at + 1]) >> 6U) == 2;
            if (!whole) return std::nullopt;
        }
        if (count-- == 0) return at;
        at += size;
    }
    return at;
}

/// Calls `visit(end)` with the byte offset at which each user-perceived character ends, until it returns false.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
    UErrorCode status = U_ZERO_ERROR;
    UText utf8 = UTEXT_INITIALIZER;
    utext_openUTF8(&utf8, text.data(), static_cast<std::int64_t>(text.size()), &status);
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getDefault(), status));
    if (U_SUCCESS(status)) {
        breaks->setText(&utf8, status);
        for (auto end = breaks->next(); U_SUCCESS(status) && end != icu::BreakIterator::DONE; end = breaks->next()) {
            if (!visit(static_cast<std::size_t>(end))) break;
        }
    }
    utext_close(&utf8);
}

}  // namespace

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    forEachCharacter(text, [&](std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> all;
    std::size_t start = 0;
    forEachCharacter(text, [&](std::size_t end) {
        all.push_back(text.substr(start, end - start));
        start = end;
        return true;
    });
    return all;
}

std::string_view prefix(std::string_view text, std::size_t count) {
    if (text.size() <= count) return text;  // a character takes at least one byte
    if (const auto simple = endOfSimple(text, count)) return text.substr(0, *simple);
    std::size_t end = 0;
    std::size_t left = count;
    if (left > 0) {
        forEachCharacter(text, [&](std::size_t position) {
            end = position;
            return --left > 0;
        });
    }
    return text.substr(0, end);
}

std::string_view beginning(std::string_view text, std::size_t maximumBytes) {
    if (text.size() <= maximumBytes) return text;
    constexpr std::size_t longestTail = 3;  // of a code point; more of such bytes belong to none
    std::size_t end = maximumBytes;
    while (end > 0 && maximumBytes - end < longestTail && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return text.substr(0, end);
}

}  // namespace velmora::text
