#include "core/json/JSONValue.h"

#include "core/AppError.h"

#include <boost/json/basic_parser_impl.hpp>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace json = boost::json;

namespace velmora {
namespace {

/// Builds the tree from the parser's events. A handler that returns false ends the parsing; `problem` then says why.
class TreeBuilder {
  public:
    static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t max_array_size = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t max_key_size = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t max_string_size = std::numeric_limits<std::size_t>::max();

    JSONValue root;
    const char* problem = "The text is not valid JSON.";

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }
    bool on_object_begin(json::error_code& error) { return open<JSONValue::Object>(error); }
    bool on_object_end(std::size_t, json::error_code&) { return close(); }
    bool on_array_begin(json::error_code& error) { return open<JSONValue::Array>(error); }
    bool on_array_end(std::size_t, json::error_code&) { return close(); }
    bool on_key_part(json::string_view part, std::size_t, json::error_code&) { return gather(part); }
    bool on_key(json::string_view part, std::size_t, json::error_code&) {
        levels_.back().key = whole(part);
        text_.clear();
        return true;
    }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&) { return gather(part); }
    bool on_string(json::string_view part, std::size_t, json::error_code& error) {
        if (text_.empty()) return add(std::string_view(part), error);
        gather(part);
        return add(std::exchange(text_, {}), error);
    }
    bool on_number_part(json::string_view part, json::error_code&) { return gather(part); }
    bool on_int64(std::int64_t number, json::string_view, json::error_code& error) { return addNumber(number, error); }
    bool on_uint64(std::uint64_t number, json::string_view, json::error_code& error) {
        return addNumber(number, error);
    }
    bool on_double(double approximate, json::string_view part, json::error_code& error) {
        // The parser's own conversion is off by a few units in the last place.
        const std::string_view digits = whole(part);
        double exact = approximate;
        const auto converted = std::from_chars(digits.data(), digits.data() + digits.size(), exact);
        if (converted.ec == std::errc::result_out_of_range) {
            if (std::abs(approximate) > 1) return fail("A number is too large.", error);
            exact = 0;
        }
        return addNumber(exact, error);
    }
    bool on_bool(bool flag, json::error_code& error) { return add(flag, error); }
    bool on_null(json::error_code& error) { return add(nullptr, error); }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }

  private:
    struct Level {
        std::variant<JSONValue::Object, JSONValue::Array> members;
        std::string key;  // of the member being read
    };

    bool fail(const char* why, json::error_code& error) {
        problem = why;
        error = json::error::exception;
        return false;
    }

    bool gather(json::string_view part) {
        text_.append(part.data(), part.size());
        return true;
    }

    /// Everything that was gathered, with its last part: mostly the only one, which then need not be copied.
    std::string_view whole(json::string_view part) {
        if (text_.empty()) return {part.data(), part.size()};
        gather(part);
        return text_;
    }

    template <class Container>
    bool open(json::error_code& error) {
        if (levels_.size() == JSONValue::maximumDepth) return fail("The values are nested too deeply.", error);
        if (++values_ > JSONValue::maximumValues) return fail("There are too many values.", error);
        levels_.emplace_back().members.emplace<Container>();
        return true;
    }

    bool close() {
        auto members = std::move(levels_.back().members);
        levels_.pop_back();
        std::visit([this](auto& contents) { place(std::move(contents)); }, members);
        return true;
    }

    bool addNumber(auto number, json::error_code& error) {
        text_.clear();
        return add(number, error);
    }

    template <class Contents>
    bool add(Contents contents, json::error_code& error) {
        if (++values_ > JSONValue::maximumValues) return fail("There are too many values.", error);
        place(std::move(contents));
        return true;
    }

    template <class Contents>
    void place(Contents contents) {
        if (levels_.empty()) {
            root = JSONValue(std::move(contents));
            return;
        }
        Level& level = levels_.back();
        if (auto* const object = std::get_if<JSONValue::Object>(&level.members)) {
            object->insert_or_assign(std::move(level.key), std::move(contents));
        } else {
            std::get<JSONValue::Array>(level.members).emplace_back(std::move(contents));
        }
    }

    std::vector<Level> levels_;
    std::string text_;  // of the key, string or number being read
    std::size_t values_ = 0;
};

}  // namespace

JSONValue JSONValue::parse(std::string_view text, std::size_t maximumBytes) {
    if (text.size() > maximumBytes) throw JSONError("The text is too long.");
    json::parse_options options;
    options.max_depth = maximumDepth + 1;  // the builder's own limit is reached first and says so
    json::basic_parser<TreeBuilder> parser(options);
    json::error_code error;
    const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
    if (error || consumed != text.size()) throw JSONError(parser.handler().problem);
    return std::move(parser.handler().root);
}

const JSONValue& JSONValue::operator[](std::string_view key) const& {
    static const JSONValue absent;
    const Object* const members = object();
    if (!members) return absent;
    const auto member = members->find(key);
    return member == members->end() ? absent : member->second;
}

JSONValue JSONValue::operator[](std::string_view key) && {
    auto* const members = std::get_if<Object>(&payload_);
    if (!members) return nullptr;
    const auto member = members->find(key);
    return member == members->end() ? JSONValue() : std::move(member->second);
}

std::optional<double> JSONValue::number() const {
    const auto* const number = std::get_if<double>(&payload_);
    return number ? std::optional(*number) : std::nullopt;
}

const std::string& JSONValue::requiredString(std::string_view key) const {
    const std::string* const text = (*this)[key].string();
    if (!text || text->empty()) {
        throw AppError::toolExecution("Missing or invalid input: " + std::string(key) + ".");
    }
    return *text;
}

JSONValue JSONValue::schema(const std::map<std::string, std::string>& properties,
                            const std::vector<std::string>& required) {
    Object described;
    for (const auto& [name, description] : properties) {
        described.emplace(name, Object{{"type", "string"}, {"description", description}});
    }
    return Object{{"type", "object"},
                  {"properties", std::move(described)},
                  {"required", Array(required.begin(), required.end())},
                  {"additionalProperties", false}};
}

bool JSONValue::operator==(const JSONValue& other) const = default;

}  // namespace velmora
