#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// Arithmetic in the palette: + - * / % with × and ÷, parentheses and signs, over doubles.
class Calculator {
  public:
    /// The value of `text`; nothing when it is no expression, has no operator, divides by zero or leaves the finite
    /// numbers.
    static std::optional<double> value(std::string_view text);

    /// The value as shown and copied: whole numbers below 10^15 as digits, anything else with ten significant digits.
    /// The decimal point is always ".".
    static std::string format(double value);
};

}  // namespace velmora
