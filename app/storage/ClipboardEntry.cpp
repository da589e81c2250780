#include "app/storage/ClipboardEntry.h"

#include "core/json/JSONRecord.h"
#include "core/text/URL.h"

namespace velmora {

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
    const std::optional<URL> url = URL::parseStrict(content);
    return url && (url->scheme == "http" || url->scheme == "https" || url->scheme == "mailto") ? "url" : "text";
}

}  // namespace velmora
