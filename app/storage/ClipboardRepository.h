#pragma once

#include "app/storage/ClipboardEntry.h"
#include "app/storage/sqlite/Database.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// The texts that were copied, each of them once, the newest first.
///
/// Runs on: any task. Fails with: `AppError::database`.
class ClipboardRepository {
  public:
    /// Larger texts are not stored.
    static constexpr std::size_t maximumBytes = 1'000'000;
    /// Lists hold no more of a text.
    static constexpr std::size_t listedBytes = 8192;

    /// `clock` must outlive the repository.
    ClipboardRepository(std::shared_ptr<Database> database, const Clock& clock)
        : database_(std::move(database)), clock_(&clock) {}

    /// Stores a text that was copied now, then prunes. One that is already there keeps its identifier and kind and
    /// becomes the newest. Does nothing when the text is empty or larger than `maximumBytes`. Its time is the clock's,
    /// or a millisecond after the newest entry's where the clock has been set back: a new copy is never what is pruned.
    [[nodiscard]] Task<> insert(std::string content, std::optional<std::string> sourceApp, std::int64_t limit) const;

    /// Keeps the newest `limit` texts, brought into 1 to 10,000.
    [[nodiscard]] Task<> prune(std::int64_t limit) const;

    /// The newest 500 texts that contain `text`, capitals of ASCII letters counting as small ones. An empty `text` is
    /// in all of them. Rows that do not read as an entry are skipped. Of a text longer than `listedBytes` the entry has
    /// the beginning.
    [[nodiscard]] Task<std::vector<ClipboardEntry>> search(std::string text) const;

    /// The whole text of an entry; nothing when it is no longer there.
    [[nodiscard]] Task<std::optional<std::string>> content(std::string id) const;

    /// Forgets everything.
    [[nodiscard]] Task<> clear() const;

  private:
    std::shared_ptr<Database> database_;
    const Clock* clock_;
};

}  // namespace velmora
