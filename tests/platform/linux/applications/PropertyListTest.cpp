#include "platform/linux/applications/PropertyList.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <array>
#include <memory>

namespace velmora {
namespace {

using Strings = std::map<std::string, std::string>;

constexpr std::array<std::string_view, 3> keys{"CFBundleName", "CFBundleIdentifier", "CFBundleDisplayName"};

std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>\n";
}

/// The binary form of an XML list.
std::string binary(const std::string& text) {
    plist_t list = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &list);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(list, &bytes, &length);
    const std::unique_ptr<char, void (*)(void*)> owned(bytes, free);
    plist_free(list);
    return {bytes, length};
}

std::string bigEndian(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; --i)
        bytes += static_cast<char>(value >> static_cast<unsigned>(8 * i));
    return bytes;
}

/// A binary list of these objects; references and offsets have four bytes.
std::string binaryOf(const std::vector<std::string>& objects) {
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(list.size(), 4);
        list += object;
    }
    const std::uint64_t table = list.size();
    return list + offsets + std::string(6, '\0') + "\4\4" + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
           bigEndian(table, 8);
}

TEST(PropertyList, ReadsStringsInBothForms) {
    struct Case {
        std::string body;
        Strings strings;
    };
    const std::string many = [] {
        std::string dictionary = "<dict>";
        for (int i = 0; i < 400; ++i)
            dictionary += "<key>k" + std::to_string(i) + "</key><array/>";
        return dictionary + "<key>CFBundleName</key><string>Last</string></dict>";
    }();
    const Case cases[] = {
        {"<dict><key>CFBundleName</key><string>Maps &amp; Routes</string><key>Other</key><string>x</string>"
         "<key>CFBundleIdentifier</key><string>org.example.maps</string></dict>",
         {{"CFBundleName", "Maps & Routes"}, {"CFBundleIdentifier", "org.example.maps"}}},
        {"<dict><key>CFBundleName</key><string>地図 🗺</string></dict>", {{"CFBundleName", "地図 🗺"}}},
        {"<dict><key>CFBundleName</key><integer>5</integer><key>CFBundleIdentifier</key><array/></dict>", {}},
        {"<dict><key>x</key><dict><key>CFBundleName</key><string>Inner</string></dict></dict>", {}},
        {"<dict/>", {}},
        {many, {{"CFBundleName", "Last"}}},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(propertyListStrings(xml(one.body), keys), one.strings) << one.body.substr(0, 200);
        EXPECT_EQ(propertyListStrings(binary(xml(one.body)), keys), one.strings) << one.body.substr(0, 200);
    }
}

TEST(PropertyList, RefusesWhatIsNoDictionary) {
    const std::string repeated(500'000, ' ');
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<array>";
    for (const std::string& contents :
         {std::string(), std::string("bplist00"), std::string("not a list"), xml("<string>x</string>"), xml(deep),
          "<dict>" + deep, binary(xml("<array><string>x</string></array>")), std::string(900'000, '\0'),
          std::string(2'000'000, '<'), xml("<dict><key>CFBundleName</key>")}) {
        const auto strings = propertyListStrings(contents, keys);
        EXPECT_TRUE(!strings || strings->empty()) << contents.substr(0, 100);
    }
}

TEST(PropertyList, SurvivesEveryCutAndEveryChangedByte) {
    const std::string whole =
        binary(xml("<dict><key>CFBundleName</key><string>Ünïcode</string><key>CFBundleIdentifier</key><string>a.b</"
                   "string></dict>"));
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(propertyListStrings(whole.substr(0, length), keys).value_or(Strings{}).contains("CFBundleName"));
    for (std::size_t at = 8; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[at] = static_cast<char>(value);
            const auto strings = propertyListStrings(changed, keys);
            EXPECT_LE(strings.value_or(Strings{}).size(), keys.size());
        }
    }
}

TEST(PropertyList, IsNotFooledByBinaryListsThatGrow) {
    // Thirty arrays, each holding the next one twice: a billion values when written out.
    std::vector<std::string> doubling{"\xD1" + bigEndian(1, 4) + bigEndian(2, 4), "\x51k"};
    for (std::uint64_t i = 2; i < 32; ++i)
        doubling.push_back("\xA2" + bigEndian(i + 1, 4) + bigEndian(i + 1, 4));
    doubling.push_back("\x51x");
    EXPECT_EQ(propertyListStrings(binaryOf(doubling), keys), Strings{});
    // Nesting deeper than any stack, and an array in itself.
    std::vector<std::string> deep;
    for (std::uint64_t i = 0; i < 100'000; ++i)
        deep.push_back("\xA1" + bigEndian(i + 1, 4));
    deep.push_back("\x51x");
    EXPECT_EQ(propertyListStrings(binaryOf(deep), keys), std::nullopt);
    const std::string self = "\xD1" + bigEndian(0, 4) + bigEndian(0, 4);
    EXPECT_EQ(propertyListStrings(binaryOf({self}), keys), Strings{});
    // Counts that reach far beyond the end.
    EXPECT_EQ(propertyListStrings(binaryOf({std::string("\xDF\x13") + bigEndian(~std::uint64_t{0}, 8)}), keys),
              std::nullopt);
}

}  // namespace
}  // namespace velmora
