#include "app/services/applications/AppActions.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Words = std::vector<std::string>;

TEST(AppActionCatalog, KnowsApplicationsByTheirDesktopIds) {
    const std::pair<const char*, Words> cases[] = {
        {"com.google.Chrome", {"New Window", "New Incognito Window"}},
        {"google-chrome", {"New Window", "New Incognito Window"}},
        {"org.chromium.Chromium", {"New Window", "New Incognito Window"}},
        {"microsoft-edge", {"New Window", "New InPrivate Window"}},
        {"firefox_firefox", {"New Window"}},
        {"code", {"New Window", "Diff Two Files"}},
        {"com.visualstudio.code", {"New Window", "Diff Two Files"}},
        {"com.google.chrome", {}},
        {"Code", {}},
        {"", {}},
    };
    for (const auto& [id, titles] : cases) {
        Words listed;
        for (const AppLaunchAction& action : AppActionCatalog::actions(id))
            listed.push_back(action.title);
        EXPECT_EQ(listed, titles) << id;
    }
}

TEST(LaunchArguments, SplitsAtWhiteSpaceOutsideQuotes) {
    struct Case {
        std::string text;
        Words arguments;
    };
    const Case cases[] = {
        {" \t\n \"\" ''", {}},
        {"--profile \"Work Profile\" --flag", {"--profile", "Work Profile", "--flag"}},
        {"a\"b c\"d", {"ab cd"}},
        {"'it''s'", {"its"}},
        {"\"abc def", {"abc def"}},
        {"'say \"hi\"' \"it's\"", {"say \"hi\"", "it's"}},
        {R"(C:\temp\ x \")", {R"(C:\temp\)", "x", R"(\)"}},
        {"one\r\ntwo\u00a0three\u3000four", {"one", "two", "three", "four"}},
        {"'line\nbreak'", {"line\nbreak"}},
        {"cafe\u0301 \U0001F469\u200D\U0001F4BB", {"cafe\u0301", "\U0001F469\u200D\U0001F4BB"}},
        {"x\"\u0301y", {"x\"\u0301y"}},  // a quotation mark with an accent is another character
        {"\xff\xfe a", {"\xff\xfe", "a"}},
    };
    for (const Case& one : cases)
        EXPECT_EQ(LaunchArguments::split(one.text), one.arguments) << one.text;
}

}  // namespace
}  // namespace velmora
