#include "core/mcp/MCPModels.h"

#include "core/AppError.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

MCPServerConfiguration read(std::string_view text) {
    return MCPServerConfiguration::fromJSON(JSONValue::parse(text));
}

TEST(MCPServerConfiguration, ReadsWhatTheUserTypesAndWritesItAgain) {
    const MCPServerConfiguration typed = read(MCPServerConfiguration::editorText);
    EXPECT_EQ(typed, (MCPServerConfiguration{.id = typed.id,
                                             .name = "Local MCP",
                                             .command = "/usr/bin/python3",
                                             .args = {"/absolute/path/to/server.py"}}));
    EXPECT_EQ(typed.id.size(), 36U);
    EXPECT_NE(typed.id, read(MCPServerConfiguration::editorText).id);
    EXPECT_EQ(MCPServerConfiguration::fromJSON(typed.toJSON()), typed);
    EXPECT_EQ(typed.toJSON().encodedString().find("url"), std::string::npos);
    const JSONValue whole = JSONValue::parse(
        R"({"id":"","name":" ","transport":"streamableHTTP","command":"","args":[],"env":{"A":"b"},
            "secretEnvironment":{"KEY":"account"},"url":"u"})");
    EXPECT_EQ(MCPServerConfiguration::fromJSON(whole).toJSON(), whole);
    for (const char* const text :
         {"[]", "{}", R"({"name":1})", R"({"name":"n","transport":""})", R"({"name":"n","args":"x"})",
          R"({"name":"n","args":[1]})", R"({"name":"n","env":{"A":1}})", R"({"name":"n","url":{}})"})
        EXPECT_THROW(read(text), JSONError) << text;
}

TEST(MCPServerConfiguration, IsAddedWithANameAndWithoutPlainSecretsAndOnce) {
    const auto refusal = [](const MCPServerConfiguration& configuration) -> std::string {
        try {
            configuration.requireAddable({{.id = "there", .name = "n", .command = ""}});
        } catch (const AppError& error) {
            return error.what();
        }
        return "";
    };
    MCPServerConfiguration server{.id = "there", .name = "", .command = "", .env = {{"KEY", "value"}}};
    EXPECT_EQ(refusal(server), "Give the server a name.");
    server.name = " ";
    EXPECT_EQ(refusal(server),
              "Plaintext environment values are not stored. Use secretEnvironment with Keychain account references.");
    std::swap(server.env, server.secretEnvironment);
    EXPECT_EQ(refusal(server), "This server is already configured.");
    server.id = "new";
    EXPECT_EQ(refusal(server), "");
}

TEST(MCPToolList, ReadsAPageOrNothingOfIt) {
    const auto page = MCPToolList::fromJSON(
        JSONValue::parse(R"({"tools":[{"name":"a","inputSchema":null,"title":1}],"nextCursor":"c","_meta":{}})"));
    ASSERT_EQ(page.tools.size(), 1U);
    EXPECT_EQ(page.tools.front().description, std::nullopt);
    EXPECT_EQ(page.nextCursor, "c");
    for (const char* const text : {"{}", R"({"tools":{}})", R"({"tools":[{"name":"a","inputSchema":{}},{"name":"b"}]})",
                                   R"({"tools":[{"inputSchema":{}}]})", R"({"tools":[],"nextCursor":1})"})
        EXPECT_THROW(MCPToolList::fromJSON(JSONValue::parse(text)), JSONError) << text;
}

TEST(MCPStartQuestion, ShowsTheWholeCommandAndWhereEachWordEnds) {
    MCPServerConfiguration server{
        .id = "1", .name = "Files", .command = "/usr/bin/npx", .args = {"-y", "@x/server", "/a"}};
    EXPECT_EQ(MCPStartQuestion(server).title, "Start MCP server “Files” ?");
    const std::string intro =
        "This runs a local process with your user permissions. Only connect servers you trust.\n\n";
    EXPECT_EQ(MCPStartQuestion(server).detail, intro + "Executable: /usr/bin/npx\nArguments: -y @x/server /a");
    server.name = "Files” ?\nHarmless";
    EXPECT_EQ(MCPStartQuestion(server).title, "Start MCP server “Files” ?\\nHarmless” ?");
    server.command = "/tmp/x\nArguments: none";
    server.args = {"",    "two words",           "a\tb", "say \"no\"", "\x7F", "no\u00A0break", "wide\u3000",
                   "\\n", std::string(9000, 'x')};
    EXPECT_EQ(MCPStartQuestion(server).detail, intro + R"(Executable: "/tmp/x\nArguments: none")" + "\n" +
                                                   R"(Arguments: "" "two words" "a\u0009b" "say \"no\"" "\u007f" "no)" +
                                                   "\u00A0break\" \"wide\u3000\" \\n " + std::string(9000, 'x'));
}

}  // namespace
}  // namespace velmora
