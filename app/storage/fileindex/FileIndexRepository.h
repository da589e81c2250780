#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/async/Clock.h"
#include "core/files/IndexedFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// The filename index: what is in it, what is searched, which folders it covers and up to where it follows their
/// changes. Nothing else reads or writes its tables.
///
/// Paths and names are opaque bytes. Operations that take a folder accept "~" and slashes at its end. Every operation
/// leaves the full-text index in step with the names, also when it fails or the program is killed meanwhile.
///
/// Runs on: any task; steps of one operation may have others between them. Fails with: `AppError::database`.
class FileIndexRepository {
  public:
    /// How many rows one step deletes at most, so that other writes need not wait for the end of a large deletion.
    static constexpr std::size_t deletionStep = 5000;

    /// `home` is what "~" stands for; `clock` must outlive the repository.
    FileIndexRepository(std::shared_ptr<Database> database, std::string home, const Clock& clock)
        : database_(std::move(database)), home_(std::move(home)), clock_(&clock) {}

    /// Writes `files` over what the index has under their paths; all of them or, after a failure, none.
    [[nodiscard]] Task<> upsert(std::vector<IndexedFile> files) const;

    /// Deletes exactly these paths and nothing below them; all of them or, after a failure, none.
    [[nodiscard]] Task<> deletePaths(std::vector<std::string> paths) const;

    /// Deletes `path` and everything below it. Large trees go in steps, of which a failure or a
    /// cancellation leaves the rest, unless nothing else is indexed.
    [[nodiscard]] Task<> deleteTree(std::string path) const;

    /// `deleteTree` for each of `paths`, without the cost of those that are below another.
    [[nodiscard]] Task<> deleteTrees(std::vector<std::string> paths) const;

    /// Those of `paths`, taken as they are, that are indexed as folders.
    [[nodiscard]] Task<std::set<std::string>> directories(std::vector<std::string> among) const;

    /// What `name`, a text in the file search language, finds in the folder `parent` at any depth, or everywhere; at
    /// most `limit`, which is brought into 1 … 1,000. Fails also with `AppError::recoverable` when the text cannot be
    /// read; ends as `Cancelled` as soon as its caller is cancelled.
    [[nodiscard]] Task<std::vector<IndexedFile>> search(std::string name, std::optional<std::string> parent,
                                                        std::int64_t limit) const;

    /// What is directly in the folder `parent`, sorted by "size" or "modified", both falling, or "name"; any other word
    /// means "size".
    [[nodiscard]] Task<std::vector<IndexedFile>> list(std::string parent, std::string sort, std::int64_t limit) const;

    /// What is anywhere below `folder`, taken as it is, with a path after `after`, in the order of the paths' bytes.
    [[nodiscard]] Task<std::vector<IndexedFile>> below(std::string folder, std::string after, std::size_t limit) const;

    [[nodiscard]] Task<std::int64_t> count() const;

    /// The indexed folders, by path.
    [[nodiscard]] Task<std::vector<IndexRoot>> roots() const;

    /// Adds the folder unless it is a root already.
    [[nodiscard]] Task<> addRoot(std::string path) const;

    /// Leaves the files below the root in the index.
    [[nodiscard]] Task<> removeRoot(std::string id) const;

    /// Whether there is a full-text index.
    [[nodiscard]] Task<bool> ftsExists() const;

    /// Whether it is known to cover every row.
    [[nodiscard]] Task<bool> ftsBackfillDone() const;
    [[nodiscard]] Task<> markFTSBackfillDone() const;

    /// Makes it anew from the names; does nothing where there is none.
    [[nodiscard]] Task<> rebuildFTS() const;

    /// Takes a step, of some milliseconds, towards an index in one piece, in which rare terms are found in two thirds
    /// of the time. Whether there may be more to do.
    [[nodiscard]] Task<bool> mergeFTS() const;

    /// Gives back the memory that writing many files has taken.
    [[nodiscard]] Task<> releaseMemory() const { return database_->releaseMemory(); }

    /// The last change of the file system that the index has; 0 when unknown.
    [[nodiscard]] Task<std::uint64_t> loadEventID() const;
    [[nodiscard]] Task<> saveEventID(std::uint64_t id) const;

  private:
    std::shared_ptr<Database> database_;
    std::string home_;
    const Clock* clock_;
};

}  // namespace velmora
