#pragma once

#include <string>

namespace velmora {

/// Makes the folder at the absolute `path` so that only its owner can look into it; one that exists is made so. The
/// folders above it that have to be made are as private. Blocks. Fails with: `std::filesystem::filesystem_error`.
void makePrivateFolder(const std::string& path);

enum class PrivateFile { refused, made, found };

/// Makes the database file at the absolute `path` for its owner alone, before SQLite would by the process's mask;
/// SQLite gives its side files the same permissions. Of a file that is already there, and of its side files, takes the
/// permissions of others. Refused is what is no plain file, or cannot be made. Blocks.
[[nodiscard]] PrivateFile makePrivateFile(const std::string& path);

}  // namespace velmora
