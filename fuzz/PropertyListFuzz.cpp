// Any bytes either are no property list or give some of the texts that were asked for, none longer than the list.
#include "platform/linux/applications/PropertyList.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr std::array<std::string_view, 3> keys{"CFBundleName", "CFBundleIdentifier", "k"};
    const std::string_view contents(reinterpret_cast<const char*>(data), size);
    const auto strings = velmora::propertyListStrings(contents, keys);
    if (!strings) return 0;
    if (strings->size() > keys.size()) std::abort();
    for (const auto& [key, words] : *strings) {
        if (words.size() > 3 * size) std::abort();
    }
    return 0;
}
