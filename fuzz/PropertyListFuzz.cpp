// Any bytes either are no property list or give some of the texts that were asked for, none longer than the list, which
// are read again as they are when they stand in a list of their own.
#include "fuzz/Fuzz.h"

#include "platform/linux/applications/PropertyList.h"

#include <array>

void velmora::fuzz::run(std::string_view input) {
    static constexpr std::array<std::string_view, 3> keys{"CFBundleName", "CFBundleIdentifier", "k"};
    const auto strings = propertyListStrings(input, keys);
    if (!strings) return;
    std::string list = "<plist version=\"1.0\"><dict>";
    for (const auto& [key, words] : *strings) {
        check(words.size() <= 3 * input.size());
        list += "<key>" + key + "</key><string>";
        for (const char c : words) {
            const bool isMarkup = c == '<' || c == '>' || c == '&' || c == '\r';
            list += isMarkup ? "&#" + std::to_string(c) + ";" : std::string(1, c);
        }
        list += "</string>";
    }
    check(strings->size() <= keys.size() && propertyListStrings(list + "</dict></plist>", keys) == strings);
}
