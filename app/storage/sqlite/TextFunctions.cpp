#include "app/storage/sqlite/TextFunctions.h"

#include "app/storage/sqlite/LikePattern.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace velmora {
namespace {

char lowered(char c) {
    const auto fromA = static_cast<unsigned char>(c - 'A');
    return static_cast<char>(c | (fromA < 26 ? 0x20 : 0));
}

/// In pieces of a fixed size, which compilers turn into a few instructions for the whole piece.
void lowerInto(char* __restrict to, const char* __restrict from, std::size_t size) {
    constexpr std::size_t piece = 64;
    for (; size >= piece; size -= piece, from += piece, to += piece) {
        for (std::size_t i = 0; i < piece; ++i)
            to[i] = lowered(from[i]);
    }
    std::transform(from, from + size, to, lowered);
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
        // The first byte counts as a character whatever it is.
        if (at == 0) return 1;
        if (beginsCharacter(*found)) return std::ranges::count_if(whole.substr(1, at - 1), beginsCharacter) + 2;
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

/// Pattern and escape character are the same for all rows of a query, and SQLite keeps what was made of them.
void like(sqlite3_context* context, int, sqlite3_value** values) {
    const auto* pattern = static_cast<const LikePattern*>(sqlite3_get_auxdata(context, 0));
    const int type = sqlite3_value_type(values[1]);
    if (type == SQLITE_NULL) return;
    if (pattern) {
        // As bytes, so that SQLite need not copy a text to put a NUL behind it.
        return sqlite3_result_int(context, pattern->matches(contents(values[1], type == SQLITE_TEXT)) ? 1 : 0);
    }
    if (sqlite3_value_type(values[0]) == SQLITE_NULL || sqlite3_value_type(values[2]) == SQLITE_NULL) return;
    const std::string_view escape = contents(values[2], false);
    if (escape.size() != 1) {
        return sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
    }
    auto made = std::make_unique<LikePattern>(contents(values[0], false), escape.front());
    const bool matches = made->matches(contents(values[1], false));
    const auto forget = [](void* kept) { const std::unique_ptr<LikePattern> last(static_cast<LikePattern*>(kept)); };
    sqlite3_set_auxdata(context, 0, made.release(), forget);
    sqlite3_result_int(context, matches ? 1 : 0);
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
