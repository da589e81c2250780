#include "core/assistant/AIModels.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

/// Whether `text` reads as a `T` that is written as the same text again.
template <class T>
bool survives(const std::string& text) {
    try {
        return T::fromJSON(JSONValue::parse(text)).toJSON().encodedString() == text;
    } catch (const JSONError&) {
        return false;
    }
}

TEST(AIModels, HaveExactlyTheirJSONForms) {
    const struct {
        bool (*check)(const std::string& text);
        std::string text;
        bool reads;
    } cases[] = {
        {survives<Message>, R"({"content":"hi","role":"user"})", true},
        {survives<Message>, R"({"content":"","role":"tool","toolCallID":"c1"})", true},
        {survives<Message>, R"({"content":"hi","role":"User"})", false},
        {survives<Message>, R"({"role":"user"})", false},
        {survives<Message>, R"({"content":"hi","role":"tool","toolCallID":1})", false},
        {survives<ToolCall>, R"({"arguments":[1,null],"id":"c1","name":"a.b"})", true},
        {survives<ToolCall>, R"({"id":"c1","name":"a.b"})", false},
        {survives<Conversation>, R"({"id":"X","messages":[{"content":"a","role":"system"}]})", true},
        {survives<Conversation>, R"({"id":"X","messages":{}})", false},
        {survives<Conversation>, R"({"id":"X","messages":[1]})", false},
        {survives<Agent>,
         R"({"icon":"i","id":"1","model":"m","name":"n","skills":["/s"],"systemPrompt":"p","tools":["a","b"]})", true},
        {survives<Agent>, R"({"icon":"i","id":"1","model":"m","name":"n","systemPrompt":"p","tools":[]})", false},
        {survives<Agent>, R"({"icon":"i","id":"1","model":"m","name":"n","skills":[1],"systemPrompt":"p","tools":[]})",
         false},
        {survives<Skill>, R"({"description":"d","instructions":"i","name":"n","path":"/p"})", true},
        {survives<ToolDefinition>,
         R"({"description":"d","inputSchema":{},"name":"n","permission":"write","requiresApproval":true})", true},
        {survives<ToolDefinition>,
         R"({"description":"d","inputSchema":{},"name":"n","permission":"all","requiresApproval":true})", false},
        {survives<ToolDefinition>, R"({"description":"d","inputSchema":{},"name":"n","permission":"read"})", false},
    };
    for (const auto& [check, text, reads] : cases)
        EXPECT_EQ(check(text), reads) << text;
    EXPECT_EQ(Message::fromJSON(JSONValue::parse(R"({"content":"","role":"user","toolCallID":null})")).toolCallID,
              std::nullopt);
    EXPECT_NE(Conversation().id, Conversation().id);
    EXPECT_NE(Agent().id, Agent().id);
}

TEST(JSONRecord, ReadsMapsOfRecords) {
    using Map = std::map<std::string, std::vector<Message>>;
    const std::string text = R"({"a":[{"content":"x","role":"user"}],"b":[]})";
    const auto map = decodeJSON<Map>(JSONValue::parse(text));
    EXPECT_EQ(map, (Map{{"a", {{Message::Role::user, "x", std::nullopt}}}, {"b", {}}}));
    EXPECT_EQ(encodeJSON(map).encodedString(), text);
    for (const char* const wrong : {"[]", R"({"a":1})", R"({"a":[{"content":1,"role":"user"}]})"})
        EXPECT_THROW(decodeJSON<Map>(JSONValue::parse(wrong)), JSONError) << wrong;
}

}  // namespace
}  // namespace velmora
