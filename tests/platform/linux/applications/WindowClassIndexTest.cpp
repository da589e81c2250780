#include "platform/linux/applications/WindowClassIndex.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(WindowClassIndex, FindsTheApplicationOfAWindow) {
    WindowClassIndex index;
    index.add("org.example.Terminal", "Example-terminal");
    index.add("org.example.Viewer", "");
    index.add("browser", "Browser-main");
    index.add("browser-second", "browser-main");
    index.add("com.other.Viewer", "");
    index.add("", "nothing");
    struct Case {
        std::vector<std::string> classes;
        std::optional<std::string> id;
    };
    const Case cases[] = {
        {{"Example-terminal", "example-terminal"}, "org.example.Terminal"},
        {{"org.example.Terminal"}, "org.example.Terminal"},
        {{"viewer"}, "org.example.Viewer"},
        {{"Browser", "x"}, "browser"},
        {{"Unknown", "browser-main"}, "browser"},
        {{"Viewer", "Browser-main"}, "browser"},
        {{"Unknown", "unknown"}, std::nullopt},
        {{"nothing"}, std::nullopt},
        {{""}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const Case& one : cases)
        EXPECT_EQ(index.find(one.classes), one.id) << (one.classes.empty() ? "" : one.classes[0]);
}

}  // namespace
}  // namespace velmora
