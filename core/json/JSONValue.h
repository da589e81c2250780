#pragma once

#include <cstddef>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

/// Why a text is not JSON, a value has no JSON form, or a document does not fit the record it is read into. The words
/// are for developers and never quote the input.
class JSONError final : public std::exception {
  public:
    explicit JSONError(std::string what) : what_(std::move(what)) {}
    [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

  private:
    std::string what_;
};

/// Any JSON value: the one form in which documents without a record of their own travel through the program.
///
/// A plain value: copying copies the whole tree. All numbers are doubles, so 20 and 20.0 are the same. Two values are
/// equal when they have the same case and equal contents; the order of an object's members does not count.
class JSONValue {
  public:
    using Object = std::map<std::string, JSONValue, std::less<>>;
    using Array = std::vector<JSONValue>;
    /// In this order: object, array, string, number, bool, null.
    using Payload = std::variant<Object, Array, std::string, double, bool, std::nullptr_t>;

    static constexpr std::size_t maximumDepth = 128;         ///< nested arrays and objects in a parsed text
    static constexpr std::size_t maximumValues = 1'000'000;  ///< values in a parsed text
    static constexpr std::size_t defaultMaximumBytes = 16U << 20U;

    JSONValue(std::nullptr_t = nullptr) : payload_(nullptr) {}         // NOLINT(google-explicit-constructor)
    JSONValue(Object members) : payload_(std::move(members)) {}        // NOLINT(google-explicit-constructor)
    JSONValue(Array elements) : payload_(std::move(elements)) {}       // NOLINT(google-explicit-constructor)
    JSONValue(std::string text) : payload_(std::move(text)) {}         // NOLINT(google-explicit-constructor)
    JSONValue(std::string_view text) : payload_(std::string(text)) {}  // NOLINT(google-explicit-constructor)
    JSONValue(const char* text) : payload_(std::string(text)) {}       // NOLINT(google-explicit-constructor)
    JSONValue(bool flag) : payload_(flag) {}                           // NOLINT(google-explicit-constructor)
    template <class Number>
    requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>) JSONValue(Number number)
        : payload_(static_cast<double>(number)) {}  // NOLINT(google-explicit-constructor)
    template <class Pointer>
    JSONValue(Pointer*) = delete;  // would be a bool

    /// Reads one JSON text (UTF-8, nothing but white space around the value). Of members with the same key the last
    /// one counts. Fails with `JSONError` when the text is malformed, not UTF-8, longer than `maximumBytes`, nested
    /// deeper than `maximumDepth`, made of more than `maximumValues`, or holds a number beyond a double.
    static JSONValue parse(std::string_view text, std::size_t maximumBytes = defaultMaximumBytes);

    /// The value as compact JSON text. Integral numbers are written without a fraction; bytes that are not UTF-8
    /// become U+FFFD. Fails with `JSONError` on a number that is infinite or not a number.
    [[nodiscard]] std::string encodedString() const;

    /// The member of an object under `key`; null when it is absent and for every other case.
    const JSONValue& operator[](std::string_view key) const&;
    JSONValue operator[](std::string_view key) &&;

    /// The contents when the value is of that case, null otherwise. Nothing is converted.
    [[nodiscard]] const std::string* string() const& { return std::get_if<std::string>(&payload_); }
    [[nodiscard]] std::optional<double> number() const;
    [[nodiscard]] const Array* array() const& { return std::get_if<Array>(&payload_); }
    [[nodiscard]] const Object* object() const& { return std::get_if<Object>(&payload_); }
    const std::string* string() && = delete;
    const Array* array() && = delete;
    const Object* object() && = delete;

    /// The contents of whichever case it is.
    [[nodiscard]] const Payload& payload() const { return payload_; }

    /// The text under `key`, unchanged. Fails with `AppError::toolExecution` "Missing or invalid input: <key>." unless
    /// this is an object with such a member that is a string and not empty.
    [[nodiscard]] const std::string& requiredString(std::string_view key) const;

    /// The schema of an input object whose properties are all strings: `properties` gives each one's name and
    /// description.
    static JSONValue schema(const std::map<std::string, std::string>& properties,
                            const std::vector<std::string>& required);

    bool operator==(const JSONValue& other) const;

  private:
    Payload payload_;
};

}  // namespace velmora
