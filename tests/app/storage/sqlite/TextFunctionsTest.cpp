#include "app/storage/sqlite/TextFunctions.h"

#include "tests/app/storage/StorageFixture.h"

namespace velmora::test {
namespace {

using TextFunctionsTest = StorageTest;

TEST_F(TextFunctionsTest, MeanWhatTheyMeanInSQLite) {
    // Another connection has SQLite's own.
    sqlite3* plain = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &plain), SQLITE_OK);
    std::string letters = "x'";
    for (int byte = 0; byte < 256; ++byte) {
        constexpr auto digits = "0123456789ABCDEF";
        letters += {digits[byte / 16], digits[byte % 16]};
    }
    std::vector<std::string> texts{"NULL",    "''",    "'a'", "'É'",      "'xÉabcé'",         "12",
                                   "x'C3A9'", "x'A9'", "x''", "'AZ[@`{'", "'a'||char(0)||'B'"};
    texts.push_back(letters + "'");
    texts.push_back("CAST(" + letters + "' AS TEXT)");
    std::vector<std::string> expressions;
    for (const std::string& whole : texts) {
        expressions.push_back("lower(" + whole + ")");
        for (const std::string& part : texts)
            expressions.push_back("instr(" + whole + "," + part + ")");
    }
    for (const std::string& expression : expressions) {
        const std::string sql = "SELECT ifnull(hex(" + expression + "),'(null)')||typeof(" + expression + ") AS c";
        std::string expected;
        const auto keep = [](void* result, int, char** values, char**) {
            *static_cast<std::string*>(result) = values[0];
            return 0;
        };
        ASSERT_EQ(sqlite3_exec(plain, sql.c_str(), keep, &expected, nullptr), SQLITE_OK);
        EXPECT_EQ(one(sql), expected) << expression;
    }
    sqlite3_close(plain);
}

TEST_F(TextFunctionsTest, TheFasterLikeLastsForItsQueryOnly) {
    const auto matching = [&](const SQLValue& pattern, const SQLValue& escape) {
        static constexpr auto query = "SELECT CAST(12 AS TEXT) LIKE ? ESCAPE ? AS c";
        return loop.run([&] { return database->rowsMatching(query, {pattern, escape}); }).at(0).text("c");
    };
    EXPECT_EQ(matching(nullptr, "\\"), std::nullopt);
    EXPECT_EQ(failureOf([&] { matching("%", "ab"); }), "Could not read local data.");
    const auto plan = rows("EXPLAIN QUERY PLAN SELECT name FROM file_index WHERE name LIKE ? ESCAPE '\\'", {"ab%"});
    EXPECT_TRUE(plan.at(0).text("detail")->starts_with("SEARCH")) << *plan.at(0).text("detail");
}

}  // namespace
}  // namespace velmora::test
