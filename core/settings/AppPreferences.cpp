#include "core/settings/AppPreferences.h"

#include "core/json/JSONRecord.h"

namespace velmora {

JSONValue AppPreferences::toJSON() const {
    return JSONValue::Object{{"clipboardEnabled", clipboardEnabled},
                             {"clipboardLimit", clipboardLimit},
                             {"hotkey", hotkey.toJSON()},
                             {"model", model},
                             {"aiEnabled", aiEnabled},
                             {"confirmToolWrites", confirmToolWrites}};
}

AppPreferences AppPreferences::fromJSON(const JSONValue& value) {
    return {decodeMember<bool>(value, "clipboardEnabled"),
            decodeMember<std::int64_t>(value, "clipboardLimit"),
            decodeMember<HotkeyConfiguration>(value, "hotkey"),
            decodeMember<std::string>(value, "model"),
            decodeMember<bool>(value, "aiEnabled"),
            decodeMember<bool>(value, "confirmToolWrites")};
}

}  // namespace velmora
