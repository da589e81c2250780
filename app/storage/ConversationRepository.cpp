#include "app/storage/ConversationRepository.h"

namespace velmora {

Task<> ConversationRepository::add(Conversation conversation) const {
    static constexpr auto sql = "INSERT INTO conversations(id,messages,updated_at) VALUES(?,?,?)";
    const auto database = database_;
    const TimePoint now = clock_->now();
    const auto encode = [&messages = conversation.messages] {
        std::erase_if(messages, [](const Message& message) {
            return message.role != Message::Role::user && message.role != Message::Role::assistant;
        });
        return encodeJSON(messages).encodedString();
    };
    Actor encoder(pool_);
    std::string text = co_await encoder.run(encode);
    std::vector<SQLValue> values{std::move(conversation.id)};
    values.emplace_back(std::move(text));
    values.emplace_back(now);
    co_await database->execute(sql, std::move(values));
}

}  // namespace velmora
