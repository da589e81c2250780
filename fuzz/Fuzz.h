#pragma once

#include <cstdio>
#include <cstdlib>
#include <source_location>
#include <string_view>

namespace velmora::fuzz {

/// Tries one input; each target has its own. Ends the process where what the target promises does not hold.
void run(std::string_view input);

inline void check(bool holds, const std::source_location& where = std::source_location::current()) {
    if (holds) return;
    static_cast<void>(std::fprintf(stderr, "%s:%u: does not hold\n", where.file_name(), where.line()));
    std::abort();
}

/// Cuts off what is before the first `separator`, which is dropped; all of it where there is none.
inline std::string_view cutField(std::string_view& input, char separator) {
    const std::string_view field = input.substr(0, input.find(separator));
    input.remove_prefix(field.size() < input.size() ? field.size() + 1 : field.size());
    return field;
}

}  // namespace velmora::fuzz
