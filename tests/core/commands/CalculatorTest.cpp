#include "core/commands/Calculator.h"

#include <gtest/gtest.h>

#include <clocale>

namespace velmora {
namespace {

std::string repeated(std::size_t times, char c) {
    return std::string(times, c);
}

TEST(Calculator, ShowsTheValueOfExpressionsOnly) {
    const std::pair<std::string, std::string> values[] = {
        {"1+2*3", "7"},
        {"(1+2)*3", "9"},
        {"9 ÷ 2 × 3", "13.5"},
        {".5+1.", "1.5"},
        {"+42", "42"},
        {"999999999999999+1", "1e+15"},
        {"2*-3", "-6"},
        {"-7%3", "-1"},
        {"8-3-2", "3"},
        {"100/10*2%7", "6"},
        {"1/3", "0.3333333333"},
        {"1\u00A0+\u30001", "2"},
        {"1/" + repeated(400, '9'), "0"},
        {repeated(1'000'000, '-') + "1", "1"},
    };
    for (const auto& [text, shown] : values) {
        const auto value = Calculator::value(text);
        EXPECT_EQ(value ? Calculator::format(*value) : "nothing", shown) << text.substr(0, 40);
    }
    const std::string deep = repeated(100'000, '(') + "1+1" + repeated(100'000, ')');
    const std::string others[] = {"2*(3", "2*3)", "10/-0", "10%0",   "1.5.2+1", "5",
                                  "(42)", " \n ", "1+2 3", "0x10+1", "1+\xFF",  repeated(400, '9') + "-1",
                                  deep};
    for (const std::string& text : others)
        EXPECT_EQ(Calculator::value(text), std::nullopt) << text.substr(0, 40);
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
