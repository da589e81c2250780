#include "app/storage/ClipboardEntry.h"

#include "core/json/JSONRecord.h"

#include <algorithm>
#include <array>

namespace velmora {
namespace {

using namespace std::string_view_literals;

constexpr auto isHexadecimal = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
};

bool startsWithScheme(std::string_view content, std::string_view scheme) {
    if (content.size() <= scheme.size() + 1 || content[scheme.size()] != ':') return false;
    return std::ranges::equal(content.substr(0, scheme.size()), scheme,
                              [](char given, char small) { return given == small || given + ('a' - 'A') == small; });
}

/// Whether there is nothing in it that stands in no address: white space, controls, delimiters of the text around one,
/// a percent sign that encodes nothing.
bool hasAddressCharacters(std::string_view content) {
    for (std::size_t i = 0; i < content.size(); ++i) {
        const auto c = static_cast<unsigned char>(content[i]);
        if (c <= ' ' || c == 0x7F || "\"<>\\^`{|}"sv.find(content[i]) != std::string_view::npos) return false;
        if (c != '%') continue;
        const std::string_view digits = content.substr(i + 1, 2);
        if (digits.size() < 2 || !std::ranges::all_of(digits, isHexadecimal)) return false;
    }
    return true;
}

}  // namespace

JSONValue ClipboardEntry::toJSON() const {
    JSONValue::Object members{
        {"id", id}, {"content", content}, {"kind", kind}, {"createdAt", secondsSince1970(createdAt)}};
    if (sourceApp) members.emplace("sourceApp", *sourceApp);
    return members;
}

ClipboardEntry ClipboardEntry::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "id"), decodeMember<std::string>(value, "content"),
            decodeMember<std::string>(value, "kind"), timeFromSeconds(decodeMember<double>(value, "createdAt")),
            decodeOptionalMember<std::string>(value, "sourceApp")};
}

std::string_view ClipboardEntry::kindOf(std::string_view content) {
    static constexpr std::array schemes{"http"sv, "https"sv, "mailto"sv};
    const bool known = std::ranges::any_of(schemes, [&](auto scheme) { return startsWithScheme(content, scheme); });
    return known && hasAddressCharacters(content) ? "url" : "text";
}

}  // namespace velmora
