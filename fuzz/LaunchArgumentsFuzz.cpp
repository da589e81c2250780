// No letter typed gets lost and no argument is empty; arguments in quotes are split into themselves.
#include "fuzz/Fuzz.h"

#include "app/services/applications/AppActions.h"

#include <algorithm>

void velmora::fuzz::run(std::string_view input) {
    const auto letters = [](std::string_view text) {
        return std::ranges::count_if(text, [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; });
    };
    std::ptrdiff_t kept = 0;
    std::string quoted;
    const auto arguments = LaunchArguments::split(input);
    for (const std::string& argument : arguments) {
        check(!argument.empty());
        kept += letters(argument);
        quoted += " \n";
        for (const char c : argument)
            quoted += c == '"' ? std::string("'\"'") : std::string("\"") + c + "\"";
    }
    check(kept == letters(input));
    // Marks would join the quotes.
    if (std::ranges::all_of(input, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        check(LaunchArguments::split(quoted) == arguments);
}
