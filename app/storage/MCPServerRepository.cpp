#include "app/storage/MCPServerRepository.h"

#include "core/text/Text.h"

namespace velmora {

Task<std::vector<MCPServerConfiguration>> MCPServerRepository::load() const {
    static constexpr auto sql = "SELECT configuration FROM mcp_servers";
    const auto rows = co_await database_->rows(sql);
    std::vector<MCPServerConfiguration> configurations;
    for (const Row& row : rows) {
        const auto document = row.text("configuration");
        if (!document) continue;
        configurations.push_back(MCPServerConfiguration::fromJSON(JSONValue::parse(text::validUtf8(*document))));
    }
    co_return configurations;
}

Task<> MCPServerRepository::add(MCPServerConfiguration configuration) const {
    static constexpr auto sql = "INSERT INTO mcp_servers(id,configuration) VALUES(?,?)";
    std::string document = configuration.toJSON().encodedString();
    return database_->execute(sql, {std::move(configuration.id), std::move(document)});
}

Task<> MCPServerRepository::remove(std::string id) const {
    static constexpr auto sql = "DELETE FROM mcp_servers WHERE id=?";
    return database_->execute(sql, {std::move(id)});
}

}  // namespace velmora
