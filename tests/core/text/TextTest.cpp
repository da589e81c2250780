#include "core/text/Text.h"

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
