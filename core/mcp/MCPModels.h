#pragma once

#include "core/json/JSONRecord.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// How a server of the Model Context Protocol is started, as the user typed it and as it is stored.
struct MCPServerConfiguration {
    enum class Transport { stdio, streamableHTTP };

    std::string id;    ///< unique; part of the names of its tools
    std::string name;  ///< as shown
    Transport transport = Transport::stdio;
    std::string command;  ///< the absolute path of a program
    std::vector<std::string> args = {};
    std::map<std::string, std::string> env = {};
    std::map<std::string, std::string> secretEnvironment = {};  ///< name of a variable to account of the keychain
    std::optional<std::string> url = std::nullopt;

    /// What the editor shows before anything is typed.
    static constexpr std::string_view editorText =
        "{\n"
        "  \"name\": \"Local MCP\",\n"
        "  \"transport\": \"stdio\",\n"
        "  \"command\": \"/usr/bin/python3\",\n"
        "  \"args\": [\"/absolute/path/to/server.py\"],\n"
        "  \"env\": {}\n"
        "}";

    bool operator==(const MCPServerConfiguration&) const = default;

    [[nodiscard]] JSONValue toJSON() const;

    /// Only the name has to be there; without an identifier it gets a new UUID. Fails with `JSONError`.
    static MCPServerConfiguration fromJSON(const JSONValue& value);

    /// Fails (configuration) with the sentence to show when it may not be added to those there are.
    void requireAddable(const std::vector<MCPServerConfiguration>& existing) const;
};

/// A tool as its server lists it.
struct MCPToolDescription {
    std::string name;
    std::optional<std::string> description;
    JSONValue inputSchema;

    /// Fails with `JSONError`.
    static MCPToolDescription fromJSON(const JSONValue& value);
};

/// One page of a server's tools.
struct MCPToolList {
    std::vector<MCPToolDescription> tools;
    std::optional<std::string> nextCursor;  ///< where there is a further page

    /// Fails with `JSONError`, as a whole where one tool does not read.
    static MCPToolList fromJSON(const JSONValue& value);
};

/// What the user is asked before a server starts. Nothing of the command is left out, and it shows where each argument
/// begins and ends: those with white space or control characters are written as JSON texts.
struct MCPStartQuestion {
    explicit MCPStartQuestion(const MCPServerConfiguration& configuration);

    std::string title;
    std::string detail;
};

}  // namespace velmora
