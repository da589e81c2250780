#include "core/settings/AppPreferences.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(AppPreferences, DefaultsHaveTheirStoredForm) {
    EXPECT_EQ(
        AppPreferences().toJSON(),
        JSONValue::parse(R"({"clipboardEnabled":true,"clipboardLimit":500,"hotkey":{"keyCode":49,"modifiers":2048},
                  "model":"gpt-4.1-mini","aiEnabled":false,"confirmToolWrites":true})"));
}

TEST(AppPreferences, ReadsStrictly) {
    const auto with = [](const std::string& key, std::optional<JSONValue> value) {
        const JSONValue defaults = AppPreferences().toJSON();
        JSONValue::Object members = *defaults.object();
        members.erase(key);
        if (value) members.emplace(key, *value);
        return JSONValue(members);
    };
    const auto hotkey = [](const char* text) { return JSONValue::parse(text); };
    const auto labelled = hotkey(R"({"keyCode":7,"modifiers":4294967295,"keyLabel":"X"})");
    EXPECT_EQ(AppPreferences::fromJSON(with("hotkey", labelled)).hotkey, (HotkeyConfiguration{7, 4294967295U, "X"}));

    for (const JSONValue& value : std::vector<JSONValue>{
             JSONValue::Array{}, JSONValue::Object{}, with("model", std::nullopt), with("model", nullptr),
             with("clipboardEnabled", 1), with("clipboardLimit", "500"), with("clipboardLimit", 1.5),
             with("clipboardLimit", 9223372036854775808.0), with("hotkey", std::nullopt), with("hotkey", 49),
             with("hotkey", hotkey(R"({"keyCode":49})")), with("hotkey", hotkey(R"({"keyCode":-1,"modifiers":0})")),
             with("hotkey", hotkey(R"({"keyCode":4294967296,"modifiers":0})")),
             with("hotkey", hotkey(R"({"keyCode":49,"modifiers":0,"keyLabel":5})"))})
        EXPECT_THROW(AppPreferences::fromJSON(value), JSONError) << value.encodedString();
}

}  // namespace
}  // namespace velmora
