#include "core/text/Text.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace velmora::text {
namespace {

/// How many ASCII characters `text` begins with.
std::size_t asciiPrefix(std::string_view text) {
    std::size_t at = 0;
    for (std::uint64_t eight = 0; at + sizeof(eight) <= text.size(); at += sizeof(eight)) {
        std::memcpy(&eight, text.data() + at, sizeof(eight));
        if ((eight & 0x8080808080808080U) != 0) break;
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80)
        ++at;
    return at;
}

bool isAscii(std::string_view text) {
    return asciiPrefix(text) == text.size();
}

icu::UnicodeString decoded(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

std::string encoded(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
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

bool isValidUtf8(std::string_view text) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const std::size_t size = text.size();
    for (std::size_t i = 0; i < size;) {
        if (bytes[i] < 0x80) {
            i += asciiPrefix(text.substr(i));
            continue;
        }
        UChar32 character = 0;
        U8_NEXT(bytes, i, size, character);  // NOLINT(bugprone-inc-dec-in-conditions)
        if (character < 0) return false;
    }
    return true;
}

std::string validUtf8(std::string_view text) {
    return isValidUtf8(text) ? std::string(text) : encoded(decoded(text));
}

bool isUtf8(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.data(), static_cast<std::int32_t>(text.size()), &status);
    return status != U_INVALID_CHAR_FOUND;
}

bool isWhiteSpace(char32_t character) {
    return u_isUWhiteSpace(static_cast<UChar32>(character)) != 0;
}

}  // namespace velmora::text
