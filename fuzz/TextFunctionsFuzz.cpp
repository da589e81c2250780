// lower, instr and LIKE mean what they mean in SQLite, for texts and bytes, and an escaped fragment stands for itself.
// The input is a pattern, a line feed and a text.
#include "fuzz/Fuzz.h"

#include "app/storage/fileindex/FileIndexQuery.h"
#include "app/storage/sqlite/TextFunctions.h"
#include "core/text/Text.h"

#include <sqlite3.h>

namespace velmora::fuzz {
namespace {

sqlite3* opened(bool fasterFunctions) {
    sqlite3* connection = nullptr;
    check(sqlite3_open(":memory:", &connection) == SQLITE_OK);
    if (fasterFunctions) replaceTextFunctions(connection);
    return connection;
}

sqlite3_stmt* prepared(sqlite3* connection, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK);
    return statement;
}

std::string answer(sqlite3_stmt* statement, std::string_view first, std::string_view second) {
    sqlite3_bind_text64(statement, 1, first.data(), first.size(), SQLITE_STATIC, SQLITE_UTF8);
    sqlite3_bind_text64(statement, 2, second.data(), second.size(), SQLITE_STATIC, SQLITE_UTF8);
    check(sqlite3_step(statement) == SQLITE_ROW);
    std::string result(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    sqlite3_reset(statement);
    return result;
}

}  // namespace

void run(std::string_view input) {
    static constexpr auto functions =
        "SELECT hex(lower(?2))||','||instr(?2,?1)||','||instr(CAST(?2 AS BLOB),CAST(?1 AS BLOB))";
    static constexpr auto like = "SELECT (?2 LIKE ?1 ESCAPE '\\')||(?1 LIKE ?2 ESCAPE 'a')";
    static sqlite3* const plain = opened(false);
    static sqlite3* const faster = opened(true);
    static const FasterLike fasterLike(faster);
    static sqlite3_stmt* const statements[] = {prepared(plain, functions), prepared(faster, functions),
                                               prepared(plain, like), prepared(faster, like)};
    const std::string_view pattern = cutField(input, '\n');
    check(answer(statements[0], pattern, input) == answer(statements[1], pattern, input));
    const std::string found = answer(statements[3], pattern, input);
    // The texts that are stored are valid and hold no NUL, where SQLite's own stops.
    const auto isStored = [](std::string_view text) {
        return text::validUtf8(text) == text && text.find('\0') == std::string_view::npos;
    };
    if (!isStored(pattern) || !isStored(input)) return;
    check(answer(statements[2], pattern, input) == found);
    const std::string whole = std::string(input) + std::string(pattern) + "x";
    check(answer(statements[3], "%" + escapedLike(pattern) + "%", whole).starts_with('1'));
}

}  // namespace velmora::fuzz
