#include "core/commands/Calculator.h"

#include "core/text/Text.h"

#include <unicode/utf8.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace velmora {
namespace {

/// Deeper nesting is taken for no expression, so that a hostile text cannot exhaust the stack.
constexpr int maximumDepth = 500;

enum class Kind { number, plus, minus, multiply, divide, modulo, leftParen, rightParen };

struct Token {
    Kind kind;
    double number = 0;
};

/// Thrown for a syntax error and a division by zero alike: both mean "no value".
struct ParseError {};

std::optional<Kind> operatorKind(char32_t character) {
    switch (character) {
        case U'+':
            return Kind::plus;
        case U'-':
            return Kind::minus;
        case U'*':
        case U'×':
            return Kind::multiply;
        case U'/':
        case U'÷':
            return Kind::divide;
        case U'%':
            return Kind::modulo;
        case U'(':
            return Kind::leftParen;
        case U')':
            return Kind::rightParen;
        default:
            return std::nullopt;
    }
}

bool isNumberByte(char c) {
    return (c >= '0' && c <= '9') || c == '.';
}

/// The value of a run of digits and points.
std::optional<double> number(std::string_view digits) {
    if (digits == "." || std::count(digits.begin(), digits.end(), '.') > 1) return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc::result_out_of_range) {
        // Too large reads as infinity and too small as zero, as a decimal conversion does.
        const std::string_view whole = digits.substr(0, digits.find('.'));
        return whole.find_first_of("123456789") == std::string_view::npos ? 0 : std::numeric_limits<double>::infinity();
    }
    if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

std::optional<std::vector<Token>> tokenize(std::string_view text) {
    std::vector<Token> tokens;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t i = 0; i < text.size();) {
        if (isNumberByte(text[i])) {
            const std::size_t start = i;
            while (i < text.size() && isNumberByte(text[i]))
                ++i;
            const auto value = number(text.substr(start, i - start));
            if (!value) return std::nullopt;
            tokens.push_back({Kind::number, *value});
            continue;
        }
        UChar32 character = 0;
        U8_NEXT(bytes, i, text.size(), character);
        if (character < 0) return std::nullopt;
        if (text::isWhiteSpace(static_cast<char32_t>(character))) continue;
        const auto kind = operatorKind(static_cast<char32_t>(character));
        if (!kind) return std::nullopt;
        tokens.push_back({*kind});
    }
    return tokens;
}

/// Recursive descent over the tokens; evaluates while it parses.
class Parser {
  public:
    explicit Parser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

    double parse() {
        const double value = expression();
        if (next_ != tokens_.size()) throw ParseError{};
        return value;
    }

  private:
    double expression() {
        double value = term();
        for (;;) {
            if (take(Kind::plus)) {
                value += term();
            } else if (take(Kind::minus)) {
                value -= term();
            } else {
                return value;
            }
        }
    }

    double term() {
        double value = factor();
        for (;;) {
            if (take(Kind::multiply)) {
                value *= factor();
            } else if (take(Kind::divide)) {
                value /= divisor();
            } else if (take(Kind::modulo)) {
                value = std::fmod(value, divisor());
            } else {
                return value;
            }
        }
    }

    double divisor() {
        const double value = factor();
        if (value == 0) throw ParseError{};
        return value;
    }

    double factor() {
        double sign = 1;
        for (;;) {
            if (take(Kind::minus)) {
                sign = -sign;
            } else if (!take(Kind::plus)) {
                break;
            }
        }
        if (next_ < tokens_.size() && tokens_[next_].kind == Kind::number) return sign * tokens_[next_++].number;
        if (!take(Kind::leftParen) || ++depth_ > maximumDepth) throw ParseError{};
        const double value = expression();
        if (!take(Kind::rightParen)) throw ParseError{};
        --depth_;
        return sign * value;
    }

    bool take(Kind kind) {
        if (next_ >= tokens_.size() || tokens_[next_].kind != kind) return false;
        ++next_;
        return true;
    }

    std::vector<Token> tokens_;
    std::size_t next_ = 0;
    int depth_ = 0;
};

bool isOperator(const Token& token) {
    return token.kind != Kind::number && token.kind != Kind::leftParen && token.kind != Kind::rightParen;
}

}  // namespace

std::optional<double> Calculator::value(std::string_view text) {
    auto tokens = tokenize(text);
    if (!tokens || std::none_of(tokens->begin(), tokens->end(), isOperator)) return std::nullopt;
    try {
        const double value = Parser(*std::move(tokens)).parse();
        if (!std::isfinite(value)) return std::nullopt;
        return value;
    } catch (const ParseError&) {
        return std::nullopt;
    }
}

std::string Calculator::format(double value) {
    std::array<char, 64> buffer{};
    const bool whole = value == std::round(value) && std::abs(value) < 1e15;
    const auto end = whole ? std::to_chars(buffer.begin(), buffer.end(), value, std::chars_format::fixed, 0)
                           : std::to_chars(buffer.begin(), buffer.end(), value, std::chars_format::general, 10);
    return {buffer.data(), end.ptr};
}

}  // namespace velmora
