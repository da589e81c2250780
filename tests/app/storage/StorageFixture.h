#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace velmora::test {

/// A second connection to a database file, as another program would have it.
class RawConnection {
  public:
    explicit RawConnection(const std::string& path) { EXPECT_EQ(sqlite3_open(path.c_str(), &connection_), SQLITE_OK); }
    ~RawConnection() { sqlite3_close(connection_); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    [[nodiscard]] int run(const std::string& sql) {
        return sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr);
    }

  private:
    sqlite3* connection_ = nullptr;
};

/// A fresh database in a temporary folder, and calls into it that wait for their end.
class StorageTest : public testing::Test {
  protected:
    using Values = std::vector<SQLValue>;

    /// The path of a file in the test's own folder.
    [[nodiscard]] std::string at(const std::string& name) const { return folder.path() + "/" + name; }

    std::shared_ptr<Database> open(const std::string& file) {
        return loop.run([&] { return Database::open(file, pool.executor()); });
    }
    void execute(std::string_view sql, const Values& values = {}) {
        loop.run([&] { return database->execute(sql, values); });
    }
    void batch(std::string_view sql, const std::vector<Values>& entries) {
        loop.run([&] { return database->executeBatch(sql, entries); });
    }
    std::vector<Row> rows(std::string_view sql, const Values& values = {}) {
        return loop.run([&] { return database->rows(sql, values); });
    }
    /// The column `c` of the only row.
    std::string one(std::string_view sql, const Values& values = {}) {
        const auto result = rows(sql, values);
        EXPECT_EQ(result.size(), 1U);
        return std::string(result.empty() ? "" : result.front().text("c").value_or("(absent)"));
    }
    /// Every row's column `c`, one a line.
    std::string column(std::string_view sql) {
        std::string lines;
        for (const Row& row : rows(sql))
            lines += std::string(row.text("c").value_or("(absent)")) + "\n";
        return lines;
    }
    void close() {
        loop.run([&] { return database->close(); });
    }

    TemporaryFolder folder;
    const std::string path = at("velmora.sqlite");
    TestLoop loop;
    WorkerPool pool{4};
    ManualClock clock;
    std::shared_ptr<Database> database = open(path);
};

/// The sentence with which `call` fails; "cancelled" for a cancellation, "" when it succeeds.
template <class Call>
std::string failureOf(Call call) {
    try {
        call();
    } catch (const AppError& error) {
        EXPECT_EQ(error.kind(), AppError::Kind::database);
        return error.what();
    } catch (const Cancelled&) {
        return "cancelled";
    }
    return "";
}

}  // namespace velmora::test
