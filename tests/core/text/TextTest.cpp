#include "core/text/Text.h"

#include "core/text/Invisible.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

TEST(Text, FoldsCaseAndDiacriticsButNotLetters) {
    EXPECT_EQ(text::fold("ÅNGSTRÖM"), text::fold("angstrom"));
    EXPECT_EQ(text::fold("e\u0301"), text::fold("É"));
    EXPECT_NE(text::fold("कि"), text::fold("क")) << "a vowel sign is part of the word";
    EXPECT_EQ(text::fold("\xFF\xFE"), "\uFFFD\uFFFD");
}

TEST(Text, TrimsWhiteSpaceOfEveryKind) {
    EXPECT_EQ(text::trimmed(" \t\r\n\u00A0\u3000a b\u2028 "), "a b");
}

TEST(Text, OrdersNamesAsListsDo) {
    std::vector<std::string> names = {"App 10", "zoo", "App 9", "app 1", "Éclair", "Eclipse"};
    std::sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return text::compareStandard(a, b) < 0; });
    EXPECT_EQ(names, (std::vector<std::string>{"app 1", "App 9", "App 10", "Éclair", "Eclipse", "zoo"}));
}

TEST(Text, CountsUserPerceivedCharacters) {
    const std::string family = "👨‍👩‍👧";
    EXPECT_EQ(text::characterCount("e\u0301" + family + "\r\n"), 3U);
    EXPECT_EQ(text::prefix(family + "ab", 2), family + "a");
    EXPECT_EQ(text::prefix("a\r\nbc", 2), "a\r\n");
    EXPECT_EQ(text::prefix("a\xC3(bc", 2), "a\xC3");
    EXPECT_EQ(text::beginning("ab帮", 4), "ab");
    EXPECT_EQ(text::beginning("ab帮", 5), "ab帮");
    EXPECT_EQ(text::beginning(std::string(9, '\x80'), 7).size(), 4U) << "not UTF-8, and no reason to go further back";
}

TEST(Text, RevealsWhatNobodySees) {
    const std::pair<std::string, std::string> cases[] = {
        {"{\"path\":\"/home/Ä/文件\"}\n👩", "{\"path\":\"/home/Ä/文件\"}\n👩"},
        {"a\u202Efdp.sh\u2066b\u2069", "a‹U+202E›fdp.sh‹U+2066›b‹U+2069›"},
        {"\u200Bx\u200D\uFE0F\u3164\U000E0041", "‹U+200B›x‹U+200D›‹U+FE0F›‹U+3164›‹U+E0041›"},
        {"a\r\nb\t\x1b[2J\u0085\u2028", "a‹U+000D›\nb‹U+0009›‹U+001B›[2J‹U+0085›‹U+2028›"},
        {std::string("a\0b", 3), "a‹U+0000›b"},
        {"e\u0301\u0302\u0303\u0304\u0305e", "e\u0301\u0302\u0303\u0304‹U+0305›e"},
        {"\xff\xe2\x80", "\uFFFD\uFFFD"},
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(text::revealed(text), shown);
}

TEST(Text, SizesFilesInDecimalUnits) {
    const struct {
        std::int64_t bytes;
        const char* size;
    } cases[] = {
        {999, "999 bytes"}, {1000, "1 kB"},  {999'499, "999 kB"},
        {999'700, "1 MB"},  {-5, "0 bytes"}, {5'000'000'000'000, "5 TB"},
    };
    for (const auto& [bytes, size] : cases)
        EXPECT_EQ(text::formattedByteCount(bytes), size);
}

TEST(Text, NamesTimesRelativeToNow) {
    const TimePoint noon = timeFromSeconds(1'699'963'200);  // 2023-11-14 12:00 UTC
    const struct {
        std::chrono::seconds age;
        const char* phrase;
    } cases[] = {
        {59s, "59 seconds ago"}, {90s, "1 minute ago"},      {30h, "yesterday"},
        {24h * 8, "last week"},  {24h * 800, "2 years ago"}, {-90s, "in 1 minute"},
    };
    for (const auto& [age, phrase] : cases)
        EXPECT_EQ(text::relativeTime(noon - age, noon), phrase);
}

}  // namespace
}  // namespace velmora
