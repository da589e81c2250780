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
    const std::pair<const char*, std::string> cases[] = {
        {R"({"name":"","id":"1","env":{"A":"b"}})", "Give the server a name."},
        {R"({"name":" ","id":"1","env":{"A":"b"}})",
         "Plaintext environment values are not stored. Use secretEnvironment with Keychain account references."},
        {R"({"name":" ","id":"1","secretEnvironment":{"A":"b"}})", "This server is already configured."},
        {R"({"name":" ","secretEnvironment":{"A":"b"}})", ""},
    };
    for (const auto& [text, refusal] : cases) {
        std::string sentence;
        try {
            read(text).requireAddable({read(R"({"name":"n","id":"1"})")});
        } catch (const AppError& error) {
            sentence = error.what();
        }
        EXPECT_EQ(sentence, refusal) << text;
    }
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
    const std::string longest(9000, 'x');
    server.args = {"", "two words", "a\tb", "say \"no\"", "\x7F", "wide\u3000", "\\n", longest};
    const std::string shown = R"("" "two words" "a\u0009b" "say \"no\"" "\u007f" "wide)"
                              "\u3000\" \\n " +
                              longest;
    EXPECT_EQ(MCPStartQuestion(server).detail,
              intro + R"(Executable: "/tmp/x\nArguments: none")" + "\nArguments: " + shown);
}

}  // namespace
}  // namespace velmora
