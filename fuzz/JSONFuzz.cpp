// Any bytes either fail to parse with JSONError or give a value that is written as text which reads back as the same.
// Numbers are those of the C library.
#include "fuzz/Fuzz.h"

#include "core/json/JSONValue.h"
#include "core/text/Text.h"

#include <cstdlib>

void velmora::fuzz::run(std::string_view input) {
    std::optional<JSONValue> value;
    try {
        value = JSONValue::parse(input, 64U << 10U);
    } catch (const JSONError&) {
        // Texts of programs hold such bytes too; written, they must be JSON all the same.
        const JSONValue read = JSONValue::parse(JSONValue(input).encodedString());
        check(read.string() && *read.string() == text::validUtf8(input));
        return;
    }
    check(text::validUtf8(input) == input);
    const std::string written = value->encodedString();
    check(text::validUtf8(written) == written);
    const JSONValue read = JSONValue::parse(written, written.size());
    check(read == *value && read.encodedString() == written);
    if (const auto number = value->number()) check(std::strtod(std::string(input).c_str(), nullptr) == *number);
}
