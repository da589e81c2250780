#include "core/text/Text.h"

#include <unicode/brkiter.h>
#include <unicode/calendar.h>
#include <unicode/coll.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/normalizer2.h>
#include <unicode/numberformatter.h>
#include <unicode/reldatefmt.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::text {
namespace {

bool isAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

icu::UnicodeString decoded(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

std::string encoded(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

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

/// Turkish and Azeri have a dotless i, which changes what the lower case of I is.
bool usesDotlessI() {
    static const bool dotless = [] {
        const std::string_view language = icu::Locale::getDefault().getLanguage();
        return language == "tr" || language == "az";
    }();
    return dotless;
}

/// A mark that is written over a letter without making another letter of it: accents, umlauts, Hebrew and Arabic vowel
/// points. Vowel signs of the Indic scripts are marks too but carry the sound; the Japanese voicing marks make another
/// kana.
bool isDiacritic(UChar32 character) {
    if (u_charType(character) != U_NON_SPACING_MARK) return false;
    if (character == 0x3099 || character == 0x309A) return false;
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(character, &status);
    return U_SUCCESS(status) && (script == USCRIPT_INHERITED || script == USCRIPT_HEBREW || script == USCRIPT_ARABIC);
}

std::string foldUnicode(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* decomposing = icu::Normalizer2::getNFDInstance(status);
    const auto* composing = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::string(text);
    icu::UnicodeString letters = decoded(text);
    letters.foldCase(usesDotlessI() ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT);
    const icu::UnicodeString decomposed = decomposing->normalize(letters, status);
    icu::UnicodeString bare;
    for (std::int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
        const UChar32 character = decomposed.char32At(i);
        if (!isDiacritic(character)) bare.append(character);
    }
    const icu::UnicodeString folded = composing->normalize(bare, status);
    return U_SUCCESS(status) ? encoded(folded) : std::string(text);
}

/// The code point that ends before `end`, and where it starts.
std::size_t previousCharacter(std::string_view text, std::size_t end, UChar32& character) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    auto index = static_cast<std::int32_t>(end);
    U8_PREV(bytes, 0, index, character);
    return static_cast<std::size_t>(index);
}

std::size_t nextCharacter(std::string_view text, std::size_t start, UChar32& character) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    auto index = static_cast<std::int32_t>(start);
    const auto length = static_cast<std::int32_t>(text.size());
    U8_NEXT(bytes, index, length, character);
    return static_cast<std::size_t>(index);
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

double wholeDaysBetween(TimePoint then, TimePoint now) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status)) return 0;
    const auto startOfDay = [&](TimePoint time) {
        calendar->setTime(secondsSince1970(time) * 1000, status);
        for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
            calendar->set(field, 0);
        return calendar->getTime(status);
    };
    const double from = startOfDay(then);
    const double to = startOfDay(now);
    return U_SUCCESS(status) ? std::round((to - from) / 86'400'000.0) : 0;
}

}  // namespace

std::string fold(std::string_view text) {
    if (!isAscii(text) || usesDotlessI()) return foldUnicode(text);
    std::string folded(text);
    for (char& c : folded) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return folded;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty()) {
        UChar32 character = 0;
        const std::size_t next = nextCharacter(text, 0, character);
        if (character < 0 || !isWhiteSpace(static_cast<char32_t>(character))) break;
        text.remove_prefix(next);
    }
    while (!text.empty()) {
        UChar32 character = 0;
        const std::size_t start = previousCharacter(text, text.size(), character);
        if (character < 0 || !isWhiteSpace(static_cast<char32_t>(character))) break;
        text = text.substr(0, start);
    }
    return text;
}

std::vector<std::string> lowercasedWords(std::string_view text) {
    const std::string lower = encoded(decoded(text).toLower(icu::Locale::getRoot()));
    std::vector<std::string> words;
    std::string_view rest = lower;
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        if (!word.empty()) words.emplace_back(word);
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    }
    return words;
}

bool contains(std::string_view whole, std::string_view part) {
    return part.empty() || fold(whole).find(fold(part)) != std::string::npos;
}

int compareStandard(std::string_view left, std::string_view right) {
    static const std::unique_ptr<const icu::Collator> collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        // The POSIX locale would sort capitals before small letters; a person without a language gets Unicode's order.
        const icu::Locale& locale = icu::Locale::getDefault();
        const bool posix = std::string_view(locale.getVariant()) == "POSIX";
        std::unique_ptr<icu::Collator> made(
            icu::Collator::createInstance(posix ? icu::Locale::getRoot() : locale, status));
        if (U_SUCCESS(status)) {
            made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
            made->setStrength(icu::Collator::SECONDARY);
        }
        return std::unique_ptr<const icu::Collator>(U_SUCCESS(status) ? made.release() : nullptr);
    }();
    if (!collator) return left.compare(right);
    UErrorCode status = U_ZERO_ERROR;
    return collator->compareUTF8(icu::StringPiece(left.data(), static_cast<std::int32_t>(left.size())),
                                 icu::StringPiece(right.data(), static_cast<std::int32_t>(right.size())), status);
}

std::string canonical(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const auto* composing = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::string(text);
    const icu::UnicodeString composed = composing->normalize(decoded(text), status);
    return U_SUCCESS(status) ? encoded(composed) : std::string(text);
}

std::string validUtf8(std::string_view text) {
    return isAscii(text) ? std::string(text) : encoded(decoded(text));
}

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

std::string relativeTime(TimePoint then, TimePoint now) {
    const double seconds = secondsSince1970(now) - secondsSince1970(then);
    const double age = std::abs(seconds);
    const double days = std::max(1.0, std::abs(wholeDaysBetween(then, now)));
    struct Unit {
        double limit;  // in seconds
        double amount;
        URelativeDateTimeUnit unit;
    };
    const std::array<Unit, 7> units{{
        {1, 0, UDAT_REL_UNIT_SECOND},
        {60, age, UDAT_REL_UNIT_SECOND},
        {3600, age / 60, UDAT_REL_UNIT_MINUTE},
        {86'400, age / 3600, UDAT_REL_UNIT_HOUR},
        {7 * 86'400.0, days, UDAT_REL_UNIT_DAY},
        {30 * 86'400.0, days / 7, UDAT_REL_UNIT_WEEK},
        {365 * 86'400.0, days / 30, UDAT_REL_UNIT_MONTH},
    }};
    Unit chosen{0, days / 365, UDAT_REL_UNIT_YEAR};
    for (const Unit& unit : units) {
        if (age < unit.limit) {
            chosen = unit;
            break;
        }
    }
    // Rounded towards now, as an age is counted.
    const double amount = std::floor(chosen.amount) * (seconds < 0 ? 1 : -1);
    UErrorCode status = U_ZERO_ERROR;
    const icu::RelativeDateTimeFormatter formatter(icu::Locale::getDefault(), status);
    icu::UnicodeString phrase;
    formatter.format(amount, chosen.unit, phrase, status);
    return U_SUCCESS(status) ? encoded(phrase) : std::string();
}

std::string formattedCount(std::size_t count) {
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = icu::number::NumberFormatter::withLocale(icu::Locale::getDefault())
                               .formatInt(static_cast<std::int64_t>(count), status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? encoded(text) : std::to_string(count);
}

std::string formattedDate(TimePoint time) {
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kShort));
    icu::UnicodeString text;
    if (format) format->format(secondsSince1970(time) * 1000, text);
    return encoded(text);
}

std::string formattedNumericDate(TimePoint time) {
    // Finding a locale's pattern takes a thousand times as long as using it, and a formatter serves one thread only.
    thread_local const std::unique_ptr<icu::DateFormat> format = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::DateFormat> made(
            icu::DateFormat::createInstanceForSkeleton("yMdjm", icu::Locale::getDefault(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    icu::UnicodeString text;
    if (format) format->format(secondsSince1970(time) * 1000, text);
    return encoded(text);
}

std::string formattedByteCount(std::int64_t bytes) {
    struct Unit {
        double size;
        icu::MeasureUnit unit;
        int fractionDigits;
        UNumberUnitWidth width;
    };
    // As many digits as tell two files apart: none for kilobytes, one for megabytes, two above.
    static const auto* const units = new std::array<Unit, 5>{{
        // NOLINT(cppcoreguidelines-owning-memory): never destroyed
        {1e12, icu::MeasureUnit::getTerabyte(), 2, UNUM_UNIT_WIDTH_SHORT},
        {1e9, icu::MeasureUnit::getGigabyte(), 2, UNUM_UNIT_WIDTH_SHORT},
        {1e6, icu::MeasureUnit::getMegabyte(), 1, UNUM_UNIT_WIDTH_SHORT},
        {1e3, icu::MeasureUnit::getKilobyte(), 0, UNUM_UNIT_WIDTH_SHORT},
        {1, icu::MeasureUnit::getByte(), 0, UNUM_UNIT_WIDTH_FULL_NAME},
    }};
    const auto size = static_cast<double>(std::max<std::int64_t>(bytes, 0));
    const auto fits = [size](const Unit& unit) {
        // 999.6 KB is a megabyte once it is rounded.
        const double rounding = unit.size == 1 ? 0 : unit.size / 1000 / 2;
        return size >= unit.size - rounding;
    };
    const auto found = std::find_if(units->begin(), units->end(), fits);
    const Unit& unit = found == units->end() ? units->back() : *found;
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = icu::number::NumberFormatter::withLocale(icu::Locale::getDefault())
                               .unit(unit.unit)
                               .unitWidth(unit.width)
                               .precision(icu::number::Precision::maxFraction(unit.fractionDigits))
                               .formatDouble(size / unit.size, status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? encoded(text) : std::to_string(bytes);
}

bool isWhiteSpace(char32_t character) {
    return u_isUWhiteSpace(static_cast<UChar32>(character)) != 0;
}

}  // namespace velmora::text
