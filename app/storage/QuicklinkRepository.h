#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/json/JSONRecord.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// An address with a name, saved by the user.
struct Quicklink {
    std::string id;  ///< a UUID
    std::string title;
    std::string url;  ///< in normal form

    bool operator==(const Quicklink&) const = default;

    [[nodiscard]] JSONValue toJSON() const { return JSONValue::Object{{"id", id}, {"title", title}, {"url", url}}; }

    /// Fails with `JSONError`.
    static Quicklink fromJSON(const JSONValue& value) {
        return {decodeMember<std::string>(value, "id"), decodeMember<std::string>(value, "title"),
                decodeMember<std::string>(value, "url")};
    }
};

/// The user's quicklinks.
///
/// Runs on: any task. Fails with: `AppError::database`.
class QuicklinkRepository {
  public:
    explicit QuicklinkRepository(std::shared_ptr<Database> database) : database_(std::move(database)) {}

    /// Every quicklink by title, in the order of its bytes. Rows that do not read as one are skipped.
    [[nodiscard]] Task<std::vector<Quicklink>> load() const;

    /// Adds the quicklink, or changes the one with its identifier.
    [[nodiscard]] Task<> save(Quicklink link) const;

    [[nodiscard]] Task<> remove(std::string id) const;

  private:
    std::shared_ptr<Database> database_;
};

}  // namespace velmora
