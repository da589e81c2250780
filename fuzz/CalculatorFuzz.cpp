// A text in parentheses and between signs has the value of the text; two texts are added as their values are; what is
// shown reads back as the value.
#include "fuzz/Fuzz.h"

#include "core/commands/Calculator.h"

#include <algorithm>
#include <charconv>
#include <cmath>

void velmora::fuzz::run(std::string_view input) {
    const auto valueOf = [](const std::string& text) { return Calculator::value(text); };
    // Texts nested nearly as deeply as is allowed have no room for more.
    const bool hasRoom = std::ranges::count(input, '(') < 400;
    const std::string left(cutField(input, '\0'));
    const std::string right(input);
    const auto first = valueOf(left);
    const auto second = valueOf(right);
    if (!first) return;
    check(std::isfinite(*first) && !valueOf(left + ")") && !valueOf("(" + left) && !valueOf(left + "e"));
    check(!hasRoom || (valueOf("(" + left + ")") == first && valueOf("-+(" + left + ")") == -*first));
    if (second && hasRoom) {
        const double sum = *first + *second;
        const auto added = valueOf("(" + left + ")+(" + right + ")");
        check(added ? *added == sum : !std::isfinite(sum));
        check(*second != 0 || !valueOf("(" + left + ")÷(" + right + ")"));
    }
    const std::string shown = Calculator::format(*first);
    double read = 0;
    const auto [stop, error] = std::from_chars(shown.data(), shown.data() + shown.size(), read);
    // What rounds to a number beyond all doubles, or vanishes below them, is shown all the same.
    if (error == std::errc::result_out_of_range) return;
    check(stop == shown.data() + shown.size() && std::abs(read - *first) <= std::abs(*first) * 1e-9);
}
