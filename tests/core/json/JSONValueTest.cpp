#include "core/json/JSONValue.h"

#include "core/AppError.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velmora {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;

TEST(JSONValue, ReadsEveryCase) {
    using namespace std::string_literals;
    const struct {
        std::string text;
        JSONValue value;
    } cases[] = {
        {"1.0", 1},
        {"18446744073709551615", 18446744073709551615.0},
        // Halfway cases, which a conversion that is not exact gets wrong.
        {"9007199254740993.0", 9007199254740992.0},
        {"2.2250738585072011e-308", 2.2250738585072011e-308},
        {R"("a\"\\\/\b\f\n\r\té\ud83d\ude42\u0000z")", "a\"\\/\b\f\n\r\té🙂\0z"s},
        {R"({"list":[1,"two",null,{"no":false}]})", Object{{"list", Array{1, "two", nullptr, Object{{"no", false}}}}}},
        {R"({"twice":1,"":2,"twice":[3]})", Object{{"", 2}, {"twice", Array{3}}}},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(JSONValue::parse(text), value) << text;
}

TEST(JSONValue, RefusesWhatIsNotOneJSONText) {
    using namespace std::string_literals;
    for (const std::string& text :
         {""s, "{"s, "1 2"s, "NaN"s, "1e400"s, "[1e99999999999999999999]"s, "// c\n1"s, "\"\xff\""s, "1\0"s})
        EXPECT_THROW(JSONValue::parse(text), JSONError) << text;
}

TEST(JSONValue, BoundsWhatItReads) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + "1" + std::string(depth, ']'); };
    const auto accepts = [](const std::string& text, std::size_t bytes = JSONValue::defaultMaximumBytes) {
        try {
            JSONValue::parse(text, bytes);
            return true;
        } catch (const JSONError&) {
            return false;
        }
    };
    EXPECT_TRUE(accepts(nested(JSONValue::maximumDepth)));
    EXPECT_FALSE(accepts(nested(JSONValue::maximumDepth + 1)));
    EXPECT_FALSE(accepts(std::string(1'000'000, '[')));
    EXPECT_FALSE(accepts("[1,2]", 4));
    std::string many = "[0";
    for (std::size_t i = 2; i < JSONValue::maximumValues; ++i)
        many += ",0";
    EXPECT_TRUE(accepts(many + "]"));
    EXPECT_FALSE(accepts(many + ",0]"));
}

TEST(JSONValue, WritesCompactTextThatReadsBack) {
    using namespace std::string_literals;
    const struct {
        JSONValue value;
        std::string text;
    } cases[] = {
        {1e15, "1000000000000000"},
        {0.1 + 0.2, "0.30000000000000004"},
        {std::numeric_limits<double>::denorm_min(), "5e-324"},
        {"a\"\\/\n\t\x01\x7f é🙂\0"s, "\"a\\\"\\\\/\\n\\u0009\\u0001\x7f é🙂\\u0000\""},
        {Object{{"k\"", Array{true, false, nullptr, Object{}, Array{}}}}, R"({"k\"":[true,false,null,{},[]]})"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(value.encodedString(), text);
        EXPECT_EQ(JSONValue::parse(text), value) << text;
    }
    EXPECT_EQ(JSONValue("bad\xff").encodedString(), "\"bad\uFFFD\"") << "never text that is not UTF-8";
    EXPECT_THROW(static_cast<void>(JSONValue(Array{NAN}).encodedString()), JSONError);
}

TEST(JSONValue, FindsWhatToEscapeAtEveryPlace) {
    for (const std::string_view odd :
         {"\"", "\\", "\n", "\x1f", "\x01", " ", "!", "#", "[", "]", "\x7f", "é", "\xff"}) {
        for (std::size_t before = 0; before < 20; ++before) {
            const std::string text =
                std::string(before, 'x') + std::string(odd) + "\x10" + std::string(20 - before, 'x');
            const JSONValue read = JSONValue::parse(JSONValue(text).encodedString());
            EXPECT_EQ(*read.string(),
                      odd == "\xff" ? std::string(before, 'x') + "\uFFFD\x10" + text.substr(before + 2) : text);
        }
    }
}

TEST(JSONValue, RequiresANonEmptyString) {
    const JSONValue input = Object{{"blank", " "}, {"empty", ""}, {"number", 5}};
    EXPECT_EQ(input.requiredString("blank"), " ");
    for (const char* const key : {"empty", "number", "absent"})
        EXPECT_THROW(static_cast<void>(input.requiredString(key)), AppError) << key;
}

}  // namespace
}  // namespace velmora
