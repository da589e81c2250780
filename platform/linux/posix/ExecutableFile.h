#pragma once

#include <string>

namespace velmora {

/// Whether `path` is a file that the user may execute. Blocks.
bool isExecutableFile(const std::string& path);

}  // namespace velmora
