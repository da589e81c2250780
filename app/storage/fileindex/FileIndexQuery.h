#pragma once

#include "app/storage/sqlite/SQLValue.h"
#include "core/files/FileSearchQuery.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How a search of the filename index reads as SQL.
namespace velmora {

/// One statement and what its parameters are bound to, in order.
struct BoundStatement {
    std::string sql;
    std::vector<SQLValue> values;
    bool isBeginning = false;  ///< it asks for names by their beginning, which the index on names can look up
};

/// Where a search is run.
struct SearchScope {
    std::optional<std::string> folder;  ///< as `folderPath` gives it: only what is in it, at any depth
    std::int64_t limit = 0;             ///< brought into 1 … 1,000
    bool fullText = true;               ///< whether the full-text index may be used
    std::string home;                   ///< what "~" stands for in path fragments
};

/// The statement that answers `query`, which is not empty.
BoundStatement searchStatement(const FileSearchQuery& query, const SearchScope& scope);

/// `text` as a fragment of a LIKE pattern whose escape character is the backslash.
std::string escapedLike(std::string_view text);

/// `path` with a leading "~", alone or before a slash, replaced by `home`.
std::string expandedTilde(std::string_view path, std::string_view home);

/// `expandedTilde` without slashes at the end; the root folder stays "/".
std::string folderPath(std::string_view path, std::string_view home);

/// What the paths of everything below `folder` begin with: `folder` and one slash.
std::string prefixBelow(std::string_view folder);

/// The paths from the first on and before the second are those below `folder`.
std::pair<std::string, std::string> rangeBelow(std::string_view folder);

}  // namespace velmora
