#pragma once

#include <string>
#include <vector>

namespace velmora {

/// A saved configuration of the assistant.
struct Agent {
    std::string id;  ///< a UUID; its identity
    std::string name = "New Agent";
    std::string icon = "sparkles";  ///< the symbol shown beside the name
    std::string systemPrompt;
    std::string model = "gpt-4.1-mini";
    std::vector<std::string> tools;   ///< names of the tools it may use
    std::vector<std::string> skills;  ///< paths of the skill files it uses

    bool operator==(const Agent&) const = default;
};

}  // namespace velmora
