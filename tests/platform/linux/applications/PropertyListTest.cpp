#include "platform/linux/applications/PropertyList.h"

#include <gtest/gtest.h>

#include <array>

namespace velmora {
namespace {

using namespace std::string_literals;
using Strings = std::map<std::string, std::string>;

constexpr std::array<std::string_view, 1> keys{"CFBundleName"};

std::string xml(const std::string& body) {
    return "<plist version=\"1.0\">" + body + "</plist>\n";
}

TEST(PropertyList, ReadsTheStringsOfTheTopDictionaryOnly) {
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<array>";
    const std::string binary =
        "bplist00\xD1\1\2\\CFBundleNameQx\b\v\x18\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x1A"s;
    const std::pair<std::string, Strings> cases[] = {
        {xml("<dict><key>CFBundleName</key><string>地図 &amp; 🗺</string></dict>"),
         {{"CFBundleName", "地図 & 🗺"}}},
        {xml("<dict><key>CFBundleName</key><integer>5</integer></dict>"), {}},
        {xml("<dict><key>x</key><dict><key>CFBundleName</key><string>Inner</string></dict></dict>"), {}},
        {xml("<dict><key>CFBundleName</key>"), {}},
        {xml(deep), {}},
        {binary, {}},
        {std::string(2'000'000, '<'), {}},
    };
    for (const auto& [contents, strings] : cases)
        EXPECT_EQ(propertyListStrings(contents, keys).value_or(Strings()), strings) << contents.substr(0, 100);
}

}  // namespace
}  // namespace velmora
