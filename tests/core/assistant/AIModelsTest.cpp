#include "core/assistant/AIModels.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

template <class T>
void check(const std::vector<std::string>& good, const std::vector<std::string>& bad) {
    for (const std::string& text : good)
        EXPECT_EQ(encodeJSON(decodeJSON<T>(JSONValue::parse(text))).encodedString(), text);
    for (const std::string& text : bad)
        EXPECT_THROW(decodeJSON<T>(JSONValue::parse(text)), JSONError) << text;
}

TEST(AIModels, HaveExactlyTheirJSONForms) {
    const std::string agent = R"({"icon":"i","id":"1","model":"m","name":"n","skills":["/s"],"systemPrompt":"p")";
    const std::string tool = R"({"description":"d","inputSchema":{},"name":"n","permission":)";
    const std::string message = R"({"content":"x","role":"tool","toolCallID":"c1"})";
    check<Message>({R"({"content":"x","role":"user"})", message},
                   {R"({"content":"x","role":"User"})", R"({"role":"user"})"});
    check<ToolCall>({R"({"arguments":[1,null],"id":"c1","name":"a"})"}, {R"({"id":"c1","name":"a"})"});
    check<Conversation>({R"({"id":"X","messages":[)" + message + "]}"}, {R"({"id":"X","messages":[1]})"});
    check<Agent>({agent + R"(,"tools":["a","b"]})"}, {agent + "}", agent + R"(,"tools":[1]})"});
    check<Skill>({R"({"description":"d","instructions":"i","name":"n","path":"/p"})"}, {R"({"name":"n"})"});
    check<ToolDefinition>({tool + R"("write","requiresApproval":true})"}, {tool + R"("all","requiresApproval":true})"});
    check<std::map<std::string, std::vector<Message>>>({R"({"a":[)" + message + R"(],"b":[]})"}, {"[]", R"({"a":1})"});
    EXPECT_NE(Conversation().id, Conversation().id);
    EXPECT_NE(Agent().id, Agent().id);
}

}  // namespace
}  // namespace velmora
