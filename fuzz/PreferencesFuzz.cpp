// A JSON text either is refused as preferences, or all that the preferences know of it is written again as it was; with
// a member less it is refused.
#include "fuzz/Fuzz.h"

#include "core/settings/AppPreferences.h"

namespace velmora::fuzz {
namespace {

template <class Record>
std::optional<Record> read(const JSONValue& value) {
    try {
        return Record::fromJSON(value);
    } catch (const JSONError&) {
        return std::nullopt;
    }
}

template <class Record>
void checkRecord(const JSONValue& value) {
    const auto record = read<Record>(value);
    if (!record) return;
    const JSONValue written = record->toJSON();
    check(read<Record>(JSONValue::parse(written.encodedString())) == record);
    for (const auto& [key, member] : *written.object()) {
        check(member.object() || value[key] == member);
        JSONValue::Object less = *value.object();
        less.erase(key);
        const auto without = read<Record>(less);
        check(key == "keyLabel" ? without && without != record : !without);
    }
}

}  // namespace

void run(std::string_view input) {
    try {
        const JSONValue value = JSONValue::parse(input, 64U << 10U);
        checkRecord<AppPreferences>(value);
        checkRecord<HotkeyConfiguration>(value);
        checkRecord<HotkeyConfiguration>(value["hotkey"]);
    } catch (const JSONError&) {  // NOLINT(bugprone-empty-catch): JSONFuzz is about these
    }
}

}  // namespace velmora::fuzz
