#pragma once

struct sqlite3;

namespace velmora {

/// Puts faster ones in the place of a connection's `lower` and `instr`, with the meaning that SQLite gives them
/// (https://www.sqlite.org/lang_corefunc.html). Searching the clipboard history runs them over every text in it, and
/// SQLite's own look at one byte after the other.
///
/// Fails with: nothing; a connection that takes no functions keeps its own.
void replaceTextFunctions(sqlite3* connection);

}  // namespace velmora
