#include "core/files/FileNames.h"
#include "core/text/Text.h"

#include <gtest/gtest.h>

#include <random>

using namespace velmora;

TEST(FileNames, WritesStrayBytesAsPrivateCharactersAndNothingElse) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"caf\xE9.txt", "caf\xEE\xBF\xA9.txt"},                      // Latin-1
        {"\xC0\xAF", "\xEE\xBF\x80\xEE\xBE\xAF"},                    // overlong "/"
        {"\xEE\xBF\xA9", "\xEE\xBF\xAE\xEE\xBE\xBF\xEE\xBE\xA9"},    // the escape itself
        {"\xEE\xBD\xBF \xEF\x80\x80", "\xEE\xBD\xBF \xEF\x80\x80"},  // its neighbours
        {"a\n\"%_\\/\xFF/b", "a\n\"%_\\/\xEE\xBF\xBF/b"},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(fileNameText(bytes), text);
        EXPECT_EQ(fileNameBytes(text), bytes);
    }
}

TEST(FileNames, LosesNothing) {
    std::mt19937 random(7);
    // Mostly the bytes that begin, continue and end the interesting sequences.
    const std::string alphabet = "a/\x80\xBC\xBF\xC3\xEE\xEF\xED\xF0\xF4\xFF";
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes(random() % 12, '\0');
        for (char& byte : bytes)
            byte = alphabet[random() % alphabet.size()];
        const std::string text = fileNameText(bytes);
        ASSERT_EQ(text::validUtf8(text), text);
        ASSERT_EQ(fileNameBytes(text), bytes);
    }
}
