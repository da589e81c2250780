#pragma once

struct sqlite3;

namespace velmora {

/// Puts faster ones in the place of a connection's `lower` and `instr`, with the meaning that SQLite gives them
/// (https://www.sqlite.org/lang_corefunc.html). Searching the clipboard history runs them over every text in it, and
/// SQLite's own look at one byte after the other.
///
/// Fails with: nothing; a connection that takes no functions keeps its own.
void replaceTextFunctions(sqlite3* connection);

/// While it lives, `LIKE` with `ESCAPE` on the connection is a faster one of the same meaning, for queries that hold
/// many texts against a pattern. No index can help it: what SQLite could look up by its beginning, it has to read.
/// No statement may run on the connection when it begins or ends.
class FasterLike {
  public:
    explicit FasterLike(sqlite3* connection);
    ~FasterLike();
    FasterLike(const FasterLike&) = delete;
    FasterLike& operator=(const FasterLike&) = delete;

  private:
    sqlite3* connection_;
};

}  // namespace velmora
