#pragma once

#include "core/json/JSONValue.h"
#include "core/settings/HotkeyConfiguration.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace velmora {

/// What the user can set. A new record holds the defaults.
struct AppPreferences {
    bool clipboardEnabled = true;        ///< whether new copies are recorded
    std::int64_t clipboardLimit = 500;   ///< the most clipboard entries kept; see `clampedClipboardLimit`
    HotkeyConfiguration hotkey;          ///< shows and hides the palette
    std::string model = "gpt-4.1-mini";  ///< model identifier sent to the AI provider
    bool aiEnabled = false;              ///< whether Ask AI may send requests at all
    bool confirmToolWrites = true;       ///< whether tools ask before they write

    bool operator==(const AppPreferences&) const = default;

    [[nodiscard]] JSONValue toJSON() const;

    /// Every member must be there with its type; fails with `JSONError`.
    static AppPreferences fromJSON(const JSONValue& value);
};

/// `limit` brought into what a clipboard history may hold, 1 to 10,000 entries.
constexpr std::int64_t clampedClipboardLimit(std::int64_t limit) {
    return std::clamp<std::int64_t>(limit, 1, 10'000);
}

}  // namespace velmora
