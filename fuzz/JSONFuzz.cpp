// Any bytes either fail to parse with JSONError or give a value that is written as text which reads back as the same.
#include "core/json/JSONValue.h"
#include "core/settings/AppPreferences.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void check(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::optional<JSONValue> value;
    try {
        value = JSONValue::parse(text, 64U << 10U);
    } catch (const JSONError&) {
        // Texts of programs hold such bytes too; written, they must be JSON all the same.
        const JSONValue read = JSONValue::parse(JSONValue(text).encodedString());
        check(read.string() != nullptr);
        return 0;
    }
    const std::string written = value->encodedString();
    check(JSONValue::parse(written, written.size()) == *value);
    try {
        const auto preferences = AppPreferences::fromJSON(*value);
        check(AppPreferences::fromJSON(preferences.toJSON()) == preferences);
    } catch (const JSONError&) {  // NOLINT(bugprone-empty-catch): most documents are no preferences
    }
    return 0;
}
