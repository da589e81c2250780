#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/files/IndexedFile.h"

#include <string>
#include <vector>

/// The writing side of the filename index: the work of one `Database::bulkWrite`, which keeps the full-text index in
/// step with the names as the schema's triggers would. Without a full-text index the rows alone are written.
namespace velmora {

/// Inserts `files`, or updates the rows that have their paths.
void writeFiles(const Database::Bulk& bulk, const std::vector<IndexedFile>& files);

/// Deletes the rows with exactly these paths.
void deleteFiles(const Database::Bulk& bulk, const std::vector<std::string>& paths);

/// Deletes all rows at once, which takes a fraction of the time, when nothing but `folder` and what is below it is
/// indexed. Otherwise changes nothing and is false.
bool deleteAllFiles(const Database::Bulk& bulk, const std::string& folder);

/// The folder that holds the entry at `path`: "/" for a top-level one.
std::string parentOf(std::string_view path);

}  // namespace velmora
