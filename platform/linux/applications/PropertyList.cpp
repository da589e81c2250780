#include "platform/linux/applications/PropertyList.h"

#include "platform/linux/posix/BoundedFile.h"

#include <plist/plist.h>

#include <array>
#include <cstdint>
#include <memory>

namespace velmora {
namespace {

using Strings = std::map<std::string, std::string>;

/// The library frees a list by recursion.
bool isShallow(std::string_view xml) {
    constexpr int maximumDepth = 256;
    int depth = 0;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at);
        const std::size_t end = tag.find('>');
        const bool isEmpty = end != std::string_view::npos && tag[end - 1] == '/';
        if (!isEmpty && (tag.starts_with("<dict") || tag.starts_with("<array"))) ++depth;
        if (tag.starts_with("</dict") || tag.starts_with("</array")) --depth;
        if (depth > maximumDepth) return false;
    }
    return true;
}

}  // namespace

std::optional<Strings> propertyListStrings(std::string_view contents, std::span<const std::string_view> keys) {
    // A NUL stands in no XML, and the library would end some texts there and not others.
    const bool hasNul = contents.find('\0') != std::string_view::npos;
    if (contents.size() > maximumDescriptionBytes || hasNul || !isShallow(contents)) return std::nullopt;
    plist_t parsed = nullptr;
    // Not the function that takes either form: a binary list of a few hundred bytes can name one value a billion times,
    // and the library builds them all.
    plist_from_xml(contents.data(), static_cast<std::uint32_t>(contents.size()), &parsed);
    const std::unique_ptr<void, void (*)(plist_t)> list(parsed, plist_free);
    if (!list || plist_get_node_type(list.get()) != PLIST_DICT) return std::nullopt;
    Strings found;
    for (const std::string_view key : keys) {
        const std::string name(key);
        plist_t const value = plist_dict_get_item(list.get(), name.c_str());
        if (!value || plist_get_node_type(value) != PLIST_STRING) continue;
        std::uint64_t length = 0;
        const char* const words = plist_get_string_ptr(value, &length);
        if (words) found.emplace(name, std::string(words, length));
    }
    return found;
}

std::optional<Strings> bundleStrings(const std::string& path, std::span<const std::string_view> keys) {
    for (const char* const place : {"/Contents/Info.plist", "/Info.plist"}) {
        const auto contents = readBoundedFile(path + place, maximumDescriptionBytes);
        if (contents) return propertyListStrings(*contents, keys);
    }
    return std::nullopt;
}

}  // namespace velmora
