#include "core/mcp/MCPModels.h"

#include "core/AppError.h"
#include "core/text/Text.h"
#include "core/text/UUID.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using Transport = MCPServerConfiguration::Transport;

constexpr std::pair<Transport, std::string_view> transports[] = {
    {Transport::stdio, "stdio"},
    {Transport::streamableHTTP, "streamableHTTP"},
};

std::string_view rawValue(Transport transport) {
    return transport == Transport::stdio ? transports[0].second : transports[1].second;
}

Transport transportOf(std::string_view text) {
    for (const auto& [transport, name] : transports) {
        if (name == text) return transport;
    }
    throw JSONError("A transport is unknown.");
}

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// Whether it cannot be told where `word` begins and ends when it stands among others as it is.
bool hasHiddenBorders(std::string_view word) {
    if (word.empty() || word.find('"') != std::string_view::npos) return true;
    return std::ranges::any_of(text::characters(word), [](std::string_view character) {
        return isControl(character.front()) || text::trimmed(character).empty();
    });
}

std::string jsonText(std::string_view word) {
    std::string written = JSONValue(word).encodedString();
    for (auto at = written.find('\x7F'); at != std::string::npos; at = written.find('\x7F'))
        written.replace(at, 1, "\\u007f");
    return written;
}

std::string shownWord(std::string_view word) {
    return hasHiddenBorders(word) ? jsonText(word) : std::string(word);
}

/// On one line, whatever is in it.
std::string shownName(std::string_view name) {
    if (std::ranges::none_of(name, isControl)) return std::string(name);
    const std::string written = jsonText(name);
    return written.substr(1, written.size() - 2);
}

}  // namespace

JSONValue MCPServerConfiguration::toJSON() const {
    JSONValue::Object record{{"id", id},
                             {"name", name},
                             {"transport", rawValue(transport)},
                             {"command", command},
                             {"args", encodeJSON(args)},
                             {"env", encodeJSON(env)},
                             {"secretEnvironment", encodeJSON(secretEnvironment)}};
    if (url) record.emplace("url", *url);
    return record;
}

MCPServerConfiguration MCPServerConfiguration::fromJSON(const JSONValue& value) {
    using Texts = std::map<std::string, std::string>;
    MCPServerConfiguration read;
    read.name = decodeMember<std::string>(value, "name");
    auto id = decodeOptionalMember<std::string>(value, "id");
    read.id = id ? std::move(*id) : newUUID();
    read.transport = transportOf(decodeOptionalMember<std::string>(value, "transport").value_or("stdio"));
    read.command = decodeOptionalMember<std::string>(value, "command").value_or("");
    read.args = decodeOptionalMember<std::vector<std::string>>(value, "args").value_or(std::vector<std::string>());
    read.env = decodeOptionalMember<Texts>(value, "env").value_or(Texts());
    read.secretEnvironment = decodeOptionalMember<Texts>(value, "secretEnvironment").value_or(Texts());
    read.url = decodeOptionalMember<std::string>(value, "url");
    return read;
}

void MCPServerConfiguration::requireAddable(const std::vector<MCPServerConfiguration>& existing) const {
    if (name.empty()) throw AppError::configuration("Give the server a name.");
    if (!env.empty()) {
        throw AppError::configuration(
            "Plaintext environment values are not stored. Use secretEnvironment with Keychain account references.");
    }
    if (std::ranges::any_of(existing, [this](const auto& other) { return other.id == id; })) {
        throw AppError::configuration("This server is already configured.");
    }
}

MCPToolDescription MCPToolDescription::fromJSON(const JSONValue& value) {
    return {decodeMember<std::string>(value, "name"), decodeOptionalMember<std::string>(value, "description"),
            decodeMember<JSONValue>(value, "inputSchema")};
}

MCPToolList MCPToolList::fromJSON(const JSONValue& value) {
    const auto* const listed = value["tools"].array();
    if (!listed) throw JSONError("The list of tools is missing.");
    MCPToolList page;
    page.tools.reserve(listed->size());
    for (const JSONValue& tool : *listed)
        page.tools.push_back(MCPToolDescription::fromJSON(tool));
    page.nextCursor = decodeOptionalMember<std::string>(value, "nextCursor");
    return page;
}

MCPStartQuestion::MCPStartQuestion(const MCPServerConfiguration& configuration)
    : title("Start MCP server “" + shownName(configuration.name) + "” ?"),
      detail(
          "This runs a local process with your user permissions. Only connect servers you trust.\n\n"
          "Executable: " +
          shownWord(configuration.command) + "\nArguments: ") {
    const char* separator = "";
    for (const std::string& argument : configuration.args)
        detail += std::exchange(separator, " ") + shownWord(argument);
}

}  // namespace velmora
