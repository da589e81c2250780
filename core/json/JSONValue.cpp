#include "core/json/JSONValue.h"

#include "core/AppError.h"
#include "core/text/Text.h"

#include <boost/json/basic_parser_impl.hpp>

#include <array>
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
        gather(part);
        levels_.back().key = std::exchange(text_, {});
        return true;
    }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&) { return gather(part); }
    bool on_string(json::string_view part, std::size_t, json::error_code& error) {
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
        gather(part);
        const std::string digits = std::exchange(text_, {});
        double exact = approximate;
        const auto converted = std::from_chars(digits.data(), digits.data() + digits.size(), exact);
        if (converted.ec == std::errc::result_out_of_range) {
            if (std::abs(approximate) > 1) return fail("A number is too large.", error);
            exact = 0;
        }
        return add(exact, error);
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
        place(std::visit([](auto& contents) { return JSONValue(std::move(contents)); }, members));
        return true;
    }

    bool addNumber(auto number, json::error_code& error) {
        text_.clear();
        return add(number, error);
    }

    bool add(JSONValue value, json::error_code& error) {
        if (++values_ > JSONValue::maximumValues) return fail("There are too many values.", error);
        place(std::move(value));
        return true;
    }

    void place(JSONValue value) {
        if (levels_.empty()) {
            root = std::move(value);
            return;
        }
        Level& level = levels_.back();
        if (auto* const object = std::get_if<JSONValue::Object>(&level.members)) {
            object->insert_or_assign(std::move(level.key), std::move(value));
        } else {
            std::get<JSONValue::Array>(level.members).push_back(std::move(value));
        }
    }

    std::vector<Level> levels_;
    std::string text_;  // of the key, string or number being read
    std::size_t values_ = 0;
};

void write(const JSONValue& value, std::string& out);

void write(std::nullptr_t, std::string& out) {
    out += "null";
}

void write(bool flag, std::string& out) {
    out += flag ? "true" : "false";
}

void write(double number, std::string& out) {
    if (!std::isfinite(number)) throw JSONError("A number is not finite.");
    std::array<char, 32> digits{};
    char* const begin = digits.data();
    char* const end = begin + digits.size();
    const bool integral = std::trunc(number) == number && std::abs(number) < 9e18;
    const auto written =
        integral ? std::to_chars(begin, end, static_cast<std::int64_t>(number)) : std::to_chars(begin, end, number);
    out.append(begin, written.ptr);
}

void write(const std::string& text, std::string& out) {
    constexpr std::string_view hex = "0123456789abcdef";
    out += '"';
    for (const char c : text::validUtf8(text)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (byte < 0x20) {
            out += "\\u00";
            out += hex[byte >> 4U];
            out += hex[byte & 0xFU];
        } else {
            out += c;
        }
    }
    out += '"';
}

void write(const JSONValue::Array& elements, std::string& out) {
    out += '[';
    const char* separator = "";
    for (const JSONValue& element : elements) {
        out += std::exchange(separator, ",");
        write(element, out);
    }
    out += ']';
}

void write(const JSONValue::Object& members, std::string& out) {
    out += '{';
    const char* separator = "";
    for (const auto& [key, member] : members) {
        out += std::exchange(separator, ",");
        write(key, out);
        out += ':';
        write(member, out);
    }
    out += '}';
}

void write(const JSONValue& value, std::string& out) {
    std::visit([&](const auto& contents) { write(contents, out); }, value.payload());
}

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

std::string JSONValue::encodedString() const {
    std::string text;
    write(*this, text);
    return text;
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
