#include "app/storage/TextFunctions.h"

#include "app/storage/LikePattern.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace velmora {
namespace {

constexpr std::uint64_t everyByte(unsigned char byte) {
    return byte * std::uint64_t{0x0101010101010101};
}

/// Eight bytes at once, capitals of ASCII letters made small.
std::uint64_t lowered(std::uint64_t bytes) {
    const std::uint64_t low = bytes & everyByte(0x7F);
    // The highest bit of each byte says how it compares; the sums cannot carry into the next byte.
    const std::uint64_t fromA = low + everyByte(0x80 - 'A');
    const std::uint64_t aboveZ = low + everyByte(0x7F - 'Z');
    const std::uint64_t capitals = (fromA ^ aboveZ) & ~bytes & everyByte(0x80);
    return bytes | (capitals >> 2U);
}

void lowerInto(char* to, const char* from, std::size_t size) {
    std::uint64_t bytes = 0;
    for (; size >= sizeof(bytes); size -= sizeof(bytes), from += sizeof(bytes), to += sizeof(bytes)) {
        std::memcpy(&bytes, from, sizeof(bytes));
        bytes = lowered(bytes);
        std::memcpy(to, &bytes, sizeof(bytes));
    }
    std::memcpy(&bytes, from, size);
    bytes = lowered(bytes);
    std::memcpy(to, &bytes, size);
}

/// The value's text, or its bytes when it is a blob and they are wanted; empty, never null, when it has none.
std::string_view contents(sqlite3_value* value, bool asBlob) {
    const void* const bytes = asBlob ? sqlite3_value_blob(value) : sqlite3_value_text(value);
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(value));
    return bytes ? std::string_view(static_cast<const char*>(bytes), size) : std::string_view("");
}

void lower(sqlite3_context* context, int, sqlite3_value** values) {
    if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
    const std::string_view text = contents(values[0], false);
    auto* const result = static_cast<char*>(sqlite3_malloc64(text.size() + 1));
    if (!result) return sqlite3_result_error_nomem(context);
    lowerInto(result, text.data(), text.size());
    result[text.size()] = '\0';
    sqlite3_result_text64(context, result, text.size(), sqlite3_free, SQLITE_UTF8);
}

bool beginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

/// Where `part` begins in `whole`, counted from 1, in characters or in bytes; 0 when it does not occur.
std::int64_t position(std::string_view whole, std::string_view part, bool inBytes) {
    std::size_t from = 0;
    while (from <= whole.size()) {
        const auto* const found =
            static_cast<const char*>(memmem(whole.data() + from, whole.size() - from, part.data(), part.size()));
        if (!found) return 0;
        const auto at = static_cast<std::size_t>(found - whole.data());
        if (inBytes) return static_cast<std::int64_t>(at) + 1;
        if (at == 0 || at == whole.size() || beginsCharacter(*found)) {
            return std::ranges::count_if(whole.substr(0, at), beginsCharacter) + 1;
        }
        from = at + 1;
    }
    return 0;
}

void instr(sqlite3_context* context, int, sqlite3_value** values) {
    const int types[] = {sqlite3_value_type(values[0]), sqlite3_value_type(values[1])};
    if (types[0] == SQLITE_NULL || types[1] == SQLITE_NULL) return;
    const bool inBytes = types[0] == SQLITE_BLOB && types[1] == SQLITE_BLOB;
    const std::string_view part = contents(values[1], inBytes);
    if (part.empty()) return sqlite3_result_int(context, 1);
    sqlite3_result_int64(context, position(contents(values[0], inBytes), part, inBytes));
}

/// The pattern is the same for all rows of a query, and SQLite keeps what was made of it.
void like(sqlite3_context* context, int, sqlite3_value** values) {
    if (std::any_of(values, values + 3, [](auto* value) { return sqlite3_value_type(value) == SQLITE_NULL; })) return;
    auto* pattern = static_cast<LikePattern*>(sqlite3_get_auxdata(context, 0));
    if (!pattern) {
        const std::string_view escape = contents(values[2], false);
        if (escape.size() != 1) {
            return sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
        }
        auto made = std::make_unique<LikePattern>(contents(values[0], false), escape.front());
        const bool matches = made->matches(contents(values[1], false));
        const auto forget = [](void* kept) {
            const std::unique_ptr<LikePattern> last(static_cast<LikePattern*>(kept));
        };
        sqlite3_set_auxdata(context, 0, made.release(), forget);
        return sqlite3_result_int(context, matches ? 1 : 0);
    }
    // As bytes, so that SQLite need not copy a text to put a NUL behind it.
    const bool isText = sqlite3_value_type(values[1]) == SQLITE_TEXT;
    sqlite3_result_int(context, pattern->matches(contents(values[1], isText)) ? 1 : 0);
}

constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

}  // namespace

void replaceTextFunctions(sqlite3* connection) {
    sqlite3_create_function_v2(connection, "lower", 1, flags, nullptr, lower, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(connection, "instr", 2, flags, nullptr, instr, nullptr, nullptr, nullptr);
}

FasterLike::FasterLike(sqlite3* connection) : connection_(connection) {
    sqlite3_create_function_v2(connection_, "like", 3, flags, nullptr, like, nullptr, nullptr, nullptr);
}

FasterLike::~FasterLike() {
    // Registers SQLite's own anew. Merely taken away, ours would leave none.
    sqlite3_exec(connection_, "PRAGMA case_sensitive_like=OFF", nullptr, nullptr, nullptr);
}

}  // namespace velmora
