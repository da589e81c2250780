#pragma once

#include <string>

namespace velmora {

/// Makes the folder at the absolute `path` so that only its owner can look into it; one that exists is made so. The
/// folders above it that have to be made are as private. Blocks. Fails with: `std::filesystem::filesystem_error`.
void makePrivateFolder(const std::string& path);

}  // namespace velmora
