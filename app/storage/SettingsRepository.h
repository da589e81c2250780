#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/json/JSONRecord.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace velmora {

/// Whole records kept in the `settings` table, each as one JSON document under its key. The preferences are under
/// "preferences".
///
/// Runs on: any task. Fails with: `AppError::database`; `load` also with `JSONError` when the stored document does not
/// fit the record (nothing is replaced then), `save` when the record has no JSON form.
class SettingsRepository {
  public:
    explicit SettingsRepository(std::shared_ptr<Database> database) : database_(std::move(database)) {}

    /// The record under `key`; nothing when none was saved.
    template <JSONRecord Record>
    [[nodiscard]] Task<std::optional<Record>> load(std::string key) const {
        const auto document = co_await loadDocument(database_, std::move(key));
        std::optional<Record> record;
        if (document) record = Record::fromJSON(*document);
        co_return record;
    }

    /// Replaces the record under `key`.
    template <JSONRecord Record>
    [[nodiscard]] Task<> save(std::string key, const Record& value) const {
        return saveDocument(database_, std::move(key), value.toJSON());
    }

  private:
    static Task<std::optional<JSONValue>> loadDocument(std::shared_ptr<Database> database, std::string key);
    static Task<> saveDocument(std::shared_ptr<Database> database, std::string key, JSONValue document);

    std::shared_ptr<Database> database_;
};

}  // namespace velmora
