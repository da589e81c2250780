#include "core/commands/Calculator.h"

#include <gtest/gtest.h>

#include <clocale>

namespace velmora {
namespace {

std::string join(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts)
        joined.append(part);
    return joined;
}

std::string repeated(std::size_t times, char c) {
    return std::string(times, c);
}

TEST(Calculator, ShowsTheValueOfExpressionsOnly) {
    const std::string deep = join({repeated(100'000, '('), "1+1", repeated(100'000, ')')});
    const std::string signs = join({repeated(1'000'000, '-'), "1"});
    const struct {
        std::string text;
        std::optional<std::string> shown;
    } cases[] = {
        {"1+2*3", "7"},
        {"(1+2)*3", "9"},
        {"2*(3", std::nullopt},
        {"2*3)", std::nullopt},
        {"10/4", "2.5"},
        {"10/0", std::nullopt},
        {"10/-0", std::nullopt},
        {"10%0", std::nullopt},
        {"0/5", "0"},
        {"7 × 6", "42"},
        {"9 ÷ 2", "4.5"},
        {"1,5+1", std::nullopt},
        {"1.5.2+1", std::nullopt},
        {".5+.5", "1"},
        {"1.+1", "2"},
        {". + 1", std::nullopt},
        {"-5", "-5"},
        {"+42", "42"},
        {"5", std::nullopt},
        {"(42)", std::nullopt},
        {"", std::nullopt},
        {" \n ", std::nullopt},
        {"+", std::nullopt},
        {"999999999999999+1", "1e+15"},
        {"2^3", std::nullopt},
        {"2*-3", "-6"},
        {"-2*3", "-6"},
        {"2--3", "5"},
        {"--3", "3"},
        {"-7%3", "-1"},
        {"7.5%2", "1.5"},
        {"8-3-2", "3"},
        {"100/10*2%7", "6"},
        {"1/3", "0.3333333333"},
        {"1+2 3", std::nullopt},
        {"(1)+(2)(3)", std::nullopt},
        {"1e3+1", std::nullopt},
        {"0x10+1", std::nullopt},
        {"1\u00A0+\u30001", "2"},  // white space of every kind
        {"\u0661+1", std::nullopt},
        {"1+\xFF", std::nullopt},
        {join({repeated(400, '9'), "-1"}), std::nullopt},
        {join({"1/", repeated(400, '9')}), "0"},
        {join({"1.", repeated(400, '0'), "1+0"}), "1"},
        {join({"0.", repeated(400, '0'), "1+0"}), "0"},
        {deep, std::nullopt},
        {signs, "1"},
    };
    for (const auto& [text, shown] : cases) {
        const auto value = Calculator::value(text);
        EXPECT_EQ(value ? std::optional(Calculator::format(*value)) : std::nullopt, shown) << text.substr(0, 40);
    }
}

TEST(Calculator, FormatsWithoutTheLocalesDecimalComma) {
    const char* previous = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(Calculator::format(2.5), "2.5");
    EXPECT_EQ(Calculator::format(1152921504606846976.0), "1.152921505e+18");
    EXPECT_EQ(Calculator::format(1e-7), "1e-07");
    if (previous) std::setlocale(LC_NUMERIC, "C");
}

}  // namespace
}  // namespace velmora
