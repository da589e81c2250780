#pragma once

#include <string>

namespace velmora {

/// Makes the folder at the absolute `path`, with the folders above it, so that only its owner can look into it; one
/// that exists is made so. Blocks. Fails with: `std::filesystem::filesystem_error`.
void makePrivateFolder(const std::string& path);

}  // namespace velmora
