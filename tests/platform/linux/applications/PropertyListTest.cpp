#include "platform/linux/applications/PropertyList.h"

#include <gtest/gtest.h>

#include <array>

namespace velmora {
namespace {

using namespace std::string_literals;
using Strings = std::map<std::string, std::string>;

constexpr std::array<std::string_view, 2> keys{"CFBundleName", "CFBundleIdentifier"};

std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>\n";
}

TEST(PropertyList, ReadsTheStringsOfTheTopDictionary) {
    const std::pair<std::string, Strings> cases[] = {
        {"<dict><key>CFBundleName</key><string>地図 &amp; 🗺</string><key>Other</key><string>x</string>"
         "<key>CFBundleIdentifier</key><string>org.example.maps</string></dict>",
         {{"CFBundleName", "地図 & 🗺"}, {"CFBundleIdentifier", "org.example.maps"}}},
        {"<dict><key>CFBundleName</key><integer>5</integer><key>CFBundleIdentifier</key><array/></dict>", {}},
        {"<dict><key>x</key><dict><key>CFBundleName</key><string>Inner</string></dict></dict>", {}},
    };
    for (const auto& [body, strings] : cases)
        EXPECT_EQ(propertyListStrings(xml(body), keys), strings) << body;
}

TEST(PropertyList, RefusesEverythingElse) {
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<array>";
    const std::string binary =
        "bplist00\xD1\1\2\\CFBundleNameQx\b\v\x18\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x1A"s;
    for (const std::string& contents :
         {std::string(), std::string("not a list"), binary, xml("<string>x</string>"), xml(deep), "<dict>" + deep,
          std::string(900'000, '\0'), std::string(2'000'000, '<'), xml("<dict><key>CFBundleName</key>")}) {
        const auto strings = propertyListStrings(contents, keys);
        EXPECT_TRUE(!strings || strings->empty()) << contents.substr(0, 100);
    }
}

}  // namespace
}  // namespace velmora
