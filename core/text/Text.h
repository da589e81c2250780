#pragma once

#include "core/async/Clock.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Text as users see it: UTF-8 in, UTF-8 out, by the Unicode rules of the current locale. Bytes that are not UTF-8
/// count as U+FFFD. Runs on: any thread.
namespace velmora::text {

/// Folds away letter case and diacritics: "École" and "ECOLE" fold to the same text.
std::string fold(std::string_view text);

/// Without white space and line breaks at both ends.
std::string_view trimmed(std::string_view text);

/// The words of `text` in lower case: what is between its spaces, empty ones left out.
std::vector<std::string> lowercasedWords(std::string_view text);

/// Whether `part` occurs in `whole`, case- and diacritic-insensitively. An empty part occurs everywhere.
bool contains(std::string_view whole, std::string_view part);

/// The order of names in lists: by the locale's alphabet, ignoring case, digits by value ("App 9" before "App 10").
/// Negative, zero or positive.
int compareStandard(std::string_view left, std::string_view right);

/// The canonical (NFC) form; comparing two of them byte by byte compares code points.
std::string canonical(std::string_view text);

/// Whether `text` is UTF-8 throughout.
bool isValidUtf8(std::string_view text);

/// `text` with every invalid sequence replaced by U+FFFD.
std::string validUtf8(std::string_view text);

/// Whether there is no invalid sequence in it. Makes no copy of it.
bool isUtf8(std::string_view text);

/// The number of user-perceived characters.
std::size_t characterCount(std::string_view text);

/// The user-perceived characters one by one, as views into `text`.
std::vector<std::string_view> characters(std::string_view text);

/// The first `count` user-perceived characters. One of them can be as long as the text: its marks have no limit.
std::string_view prefix(std::string_view text, std::size_t count);

/// The first `maximumBytes` bytes, less the code point that they would cut in two.
std::string_view beginning(std::string_view text, std::size_t maximumBytes);

/// "yesterday", "2 hours ago": `then` as seen from `now`, in words, in the current locale.
std::string relativeTime(TimePoint then, TimePoint now);

/// A whole number with the grouping of the current locale: "50,000".
std::string formattedCount(std::size_t count);

/// "Nov 14, 2023, 12:00 PM": a medium date with a short time in the current locale and time zone.
std::string formattedDate(TimePoint time);

/// "11/14/2023, 12:00 PM": the date in digits with a short time, in the current locale and time zone.
std::string formattedNumericDate(TimePoint time);

/// "1.5 MB": a size of a file in decimal units (1 KB is 1,000 bytes) in the current locale.
std::string formattedByteCount(std::int64_t bytes);

/// True for the code points that separate words: the Unicode White_Space property.
bool isWhiteSpace(char32_t character);

}  // namespace velmora::text
