#include "app/storage/ConversationRepository.h"

namespace velmora {

Task<> ConversationRepository::add(Conversation conversation) const {
    static constexpr auto sql = "INSERT INTO conversations(id,messages,updated_at) VALUES(?,?,?)";
    const auto database = database_;
    const TimePoint now = clock_->now();
    // Messages may be megabytes long: each goes as soon as its next form is there.
    const auto encode = [&messages = conversation.messages] {
        JSONValue::Array stored;
        for (Message& each : messages) {
            const Message message = std::move(each);
            if (message.role == Message::Role::user || message.role == Message::Role::assistant)
                stored.push_back(message.toJSON());
        }
        return JSONValue(std::move(stored)).encodedString();
    };
    Actor encoder(pool_);
    std::string text = co_await encoder.run(encode);
    std::vector<SQLValue> values{std::move(conversation.id)};
    values.emplace_back(std::move(text));
    values.emplace_back(now);
    co_await database->execute(sql, std::move(values));
}

}  // namespace velmora
