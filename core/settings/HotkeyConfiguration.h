#pragma once

#include "core/json/JSONRecord.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

/// A keyboard shortcut that works everywhere on the desktop.
struct HotkeyConfiguration {
    std::uint32_t keyCode = 49;           ///< virtual key code, independent of the layout; 49 is Space
    std::uint32_t modifiers = 0x800;      ///< Command 0x100, Shift 0x200, Option 0x800, Control 0x1000
    std::optional<std::string> keyLabel;  ///< what the key produced when recorded, in upper case; for display only

    bool operator==(const HotkeyConfiguration&) const = default;

    [[nodiscard]] JSONValue toJSON() const {
        JSONValue::Object members{{"keyCode", keyCode}, {"modifiers", modifiers}};
        if (keyLabel) members.emplace("keyLabel", *keyLabel);
        return members;
    }

    /// Fails with `JSONError`.
    static HotkeyConfiguration fromJSON(const JSONValue& value) {
        return {decodeMember<std::uint32_t>(value, "keyCode"), decodeMember<std::uint32_t>(value, "modifiers"),
                decodeOptionalMember<std::string>(value, "keyLabel")};
    }
};

}  // namespace velmora
