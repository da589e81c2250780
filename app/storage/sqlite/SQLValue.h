#pragma once

#include "core/async/Clock.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace velmora {

/// A value bound to a statement parameter: text, a number or null.
///
/// Numbers travel as doubles; SQLite stores an integral one in an INTEGER column as an integer. A boolean is 1 or 0, a
/// point in time its seconds since 1970, an absent text null.
class SQLValue {
  public:
    SQLValue(std::nullptr_t = nullptr) {}                           // NOLINT(google-explicit-constructor)
    SQLValue(std::string text) : value_(std::move(text)) {}         // NOLINT(google-explicit-constructor)
    SQLValue(std::string_view text) : value_(std::string(text)) {}  // NOLINT(google-explicit-constructor)
    SQLValue(const char* text) : value_(std::string(text)) {}       // NOLINT(google-explicit-constructor)
    SQLValue(TimePoint time) : value_(secondsSince1970(time)) {}    // NOLINT(google-explicit-constructor)
    SQLValue(std::optional<std::string> text) {                     // NOLINT(google-explicit-constructor)
        if (text) value_ = *std::move(text);
    }
    template <class Number>
    requires std::is_arithmetic_v<Number> SQLValue(Number number)
        : value_(static_cast<double>(number)) {}  // NOLINT(google-explicit-constructor)

    /// The text, or null when this is another case.
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&value_); }
    /// The number, or null when this is another case.
    [[nodiscard]] const double* number() const { return std::get_if<double>(&value_); }

  private:
    std::variant<std::monostate, double, std::string> value_;
};

}  // namespace velmora
