#include "app/ui/widgets/Texts.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(Texts, ALineShowsWhatWouldOtherwiseDeceive) {
    const std::pair<const char*, const char*> cases[] = {
        {"invoice \u202Efdp.sh", "invoice \uFFFDfdp.sh"},
        {"\u2067a\u2069 b\u200Bc", "\uFFFDa\uFFFD b\uFFFDc"},
        {" two\n\tlines\x1b[1m", "two lines\uFFFD[1m"},
        {"שלום.txt", "שלום.txt"},
        {"\U0001F469\u200D\U0001F4BB", "\U0001F469\u200D\U0001F4BB"},
        {"می‌خواهم", "می‌خواهم"},
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(texts::line(text).toStdString(), shown);
}

}  // namespace
}  // namespace velmora
