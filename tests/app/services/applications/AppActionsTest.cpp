#include "app/services/applications/AppActions.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Words = std::vector<std::string>;

TEST(AppActionCatalog, KnowsApplicationsByTheirDesktopIds) {
    const std::pair<const char*, Words> cases[] = {
        {"com.google.Chrome", {"New Window", "New Incognito Window"}},
        {"org.chromium.Chromium", {"New Window", "New Incognito Window"}},
        {"firefox_firefox", {"New Window"}},
        {"com.visualstudio.code", {"New Window", "Diff Two Files"}},
        {"com.google.chrome", {}},
    };
    for (const auto& [id, titles] : cases) {
        Words listed;
        for (const AppLaunchAction& action : AppActionCatalog::actions(id))
            listed.push_back(action.title);
        EXPECT_EQ(listed, titles) << id;
    }
}

TEST(LaunchArguments, SplitsAtWhiteSpaceOutsideQuotes) {
    const std::pair<std::string, Words> cases[] = {
        {" \t\n \"\" ''", {}},
        {"a\"b c\"d", {"ab cd"}},
        {"\"abc def", {"abc def"}},
        {"'say \"hi\"' \"it's\"", {"say \"hi\"", "it's"}},
        {R"(C:\temp\ x \")", {R"(C:\temp\)", "x", R"(\)"}},
        {"one\r\ntwo\u00a0three\u3000four", {"one", "two", "three", "four"}},
        {"x\"\u0301y", {"x\"\u0301y"}},  // a quotation mark with an accent is another character
        {"\xff\xfe a", {"\xff\xfe", "a"}},
    };
    for (const auto& [text, arguments] : cases)
        EXPECT_EQ(LaunchArguments::split(text), arguments) << text;
}

}  // namespace
}  // namespace velmora
