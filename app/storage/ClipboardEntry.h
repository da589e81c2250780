#pragma once

#include "core/async/Clock.h"
#include "core/json/JSONValue.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// One text that was copied.
struct ClipboardEntry {
    std::string id;
    std::string content;  ///< exactly as copied; only the beginning of it unless `isWhole`
    std::string kind;     ///< "url" or "text", see `kindOf`
    TimePoint createdAt;  ///< when it was last copied
    /// Identifier of the application that was frontmost then, where that is known.
    std::optional<std::string> sourceApp;
    bool isWhole = true;  ///< false in lists, for a text longer than those hold

    bool operator==(const ClipboardEntry&) const = default;

    /// An object with the fields' names; times as seconds since 1970.
    [[nodiscard]] JSONValue toJSON() const;

    /// Fails with `JSONError` when a member other than `sourceApp` is missing, or one has another type.
    static ClipboardEntry fromJSON(const JSONValue& value);

    /// "url" when the whole of `content` is one address (`URL::parseStrict`) with the scheme http, https or mailto;
    /// "text" for everything else.
    static std::string_view kindOf(std::string_view content);
};

}  // namespace velmora
