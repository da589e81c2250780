#pragma once

#include <set>
#include <string>

struct sqlite3;

namespace velmora {

/// What is wrong with a database file.
struct Damage {
    bool fileIndex = false;        ///< which can be made anew from the disk
    std::set<std::string> tables;  ///< the others

    [[nodiscard]] bool any() const { return fileIndex || !tables.empty(); }
};

/// What opening a database file told about the run before.
struct FormerRun {
    bool endedCleanly = true;  ///< it closed the database, rather than being killed with it open
    bool leftNothing = false;  ///< there was a file, and nothing in it
    Damage lost;               ///< what the file once had
};

// Blocking work for `Database`, on whichever thread the connection belongs to. Fails with: `AppError` (database).

/// Whether what failed last on the connection failed because the file is damaged.
[[nodiscard]] bool metDamage(sqlite3* connection);

/// Before the schema is brought up to date: what the file once had and has not any more.
[[nodiscard]] Damage findLoss(sqlite3* connection);

/// Compares the schema with what it should be and reads every table but those of the file index, which are as large as
/// all others are small. When `thorough`, reads those, too, and compares every table with its indexes.
[[nodiscard]] Damage findDamage(sqlite3* connection, bool thorough);

/// Makes the file index's tables anew, empty. Nothing of the old ones is read or given back to be used again: what is
/// damaged may share pages with what is whole. When everything else is whole, the file is made anew from that.
void remakeFileIndex(sqlite3* connection, bool wholeOtherwise);

}  // namespace velmora
