#include "platform/linux/applications/PropertyList.h"

#include "platform/linux/posix/BoundedFile.h"

#include <plist/plist.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

namespace velmora {
namespace {

using Strings = std::map<std::string, std::string>;

/// The strings in the top dictionary of a binary list, read in place. The library would build every value first, and a
/// list of a few hundred bytes can name one value a billion times.
class BinaryList {
  public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {}

    [[nodiscard]] std::optional<Strings> strings(std::span<const std::string_view> keys) {
        if (!readTrailer()) return std::nullopt;
        const auto top = header(top_);
        if (!top || top->type != 0xD || top->count > bytes_.size() / (2 * referenceSize_)) return std::nullopt;
        Strings found;
        const std::uint64_t valuesAt = top->start + top->count * referenceSize_;
        for (std::uint64_t i = 0; i < top->count; ++i) {
            const auto key = integer(top->start + i * referenceSize_, referenceSize_);
            const auto value = integer(valuesAt + i * referenceSize_, referenceSize_);
            if (!key || !value) return std::nullopt;
            const auto name = asciiText(*key);
            if (!name || std::ranges::find(keys, *name) == keys.end()) continue;
            if (auto words = text(*value)) found.try_emplace(std::string(*name), std::move(*words));
        }
        return found;
    }

  private:
    struct Header {
        unsigned type;
        std::uint64_t count;
        std::uint64_t start;  // of what follows the marker and the count
    };

    bool readTrailer() {
        constexpr std::size_t trailerSize = 32;
        if (bytes_.size() < trailerSize) return false;
        const std::uint64_t at = bytes_.size() - trailerSize;
        offsetSize_ = integer(at + 6, 1).value_or(0);
        referenceSize_ = integer(at + 7, 1).value_or(0);
        objects_ = integer(at + 8, 8).value_or(0);
        top_ = integer(at + 16, 8).value_or(0);
        offsets_ = integer(at + 24, 8).value_or(0);
        const auto isSize = [](std::uint64_t size) { return size >= 1 && size <= 8; };
        return isSize(offsetSize_) && isSize(referenceSize_) && objects_ <= bytes_.size() && offsets_ <= bytes_.size();
    }

    [[nodiscard]] std::optional<std::uint64_t> integer(std::uint64_t at, std::uint64_t size) const {
        if (at > bytes_.size() || size > bytes_.size() - at) return std::nullopt;
        std::uint64_t value = 0;
        for (const char byte : bytes_.substr(at, size))
            value = value << 8U | static_cast<unsigned char>(byte);
        return value;
    }

    [[nodiscard]] std::optional<Header> header(std::uint64_t object) const {
        if (object >= objects_) return std::nullopt;
        const auto at = integer(offsets_ + object * offsetSize_, offsetSize_);
        const auto marker = at ? integer(*at, 1) : std::nullopt;
        if (!marker) return std::nullopt;
        Header made{static_cast<unsigned>(*marker >> 4U), *marker & 0xFU, *at + 1};
        if (made.count == 0xF) {
            const auto width = integer(made.start, 1);
            if (!width || *width >> 4U != 1 || (*width & 0xFU) > 3) return std::nullopt;
            const std::uint64_t size = std::uint64_t{1} << (*width & 0xFU);
            const auto count = integer(made.start + 1, size);
            if (!count) return std::nullopt;
            made.count = *count;
            made.start += 1 + size;
        }
        return made;
    }

    [[nodiscard]] std::optional<std::string_view> asciiText(std::uint64_t object) const {
        const auto found = header(object);
        if (!found || found->type != 0x5) return std::nullopt;
        if (found->start > bytes_.size() || found->count > bytes_.size() - found->start) return std::nullopt;
        return bytes_.substr(found->start, found->count);
    }

    [[nodiscard]] std::optional<std::string> text(std::uint64_t object) const {
        if (const auto ascii = asciiText(object)) return std::string(*ascii);
        const auto found = header(object);
        if (!found || found->type != 0x6 || found->start > bytes_.size()) return std::nullopt;
        if (found->count > (bytes_.size() - found->start) / 2) return std::nullopt;
        icu::UnicodeString units;
        for (std::uint64_t i = 0; i < found->count; ++i)
            units.append(static_cast<char16_t>(integer(found->start + 2 * i, 2).value_or(0)));
        std::string words;
        units.toUTF8String(words);
        return words;
    }

    std::string_view bytes_;
    std::uint64_t offsetSize_ = 0;
    std::uint64_t referenceSize_ = 0;
    std::uint64_t objects_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t offsets_ = 0;
};

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

std::optional<Strings> xmlStrings(std::string_view xml, std::span<const std::string_view> keys) {
    if (!isShallow(xml)) return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
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

}  // namespace

std::optional<Strings> propertyListStrings(std::string_view contents, std::span<const std::string_view> keys) {
    if (contents.size() > maximumDescriptionBytes) return std::nullopt;
    return contents.starts_with("bplist0") ? BinaryList(contents).strings(keys) : xmlStrings(contents, keys);
}

std::optional<Strings> bundleStrings(const std::string& path, std::span<const std::string_view> keys) {
    for (const char* const place : {"/Contents/Info.plist", "/Info.plist"}) {
        const auto contents = readBoundedFile(path + place, maximumDescriptionBytes);
        if (contents) return propertyListStrings(*contents, keys);
    }
    return std::nullopt;
}

}  // namespace velmora
