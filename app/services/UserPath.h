#pragma once

#include <string>
#include <string_view>

namespace velmora {

/// `path` with a leading "~" (alone or before a slash) replaced by `home`, without "." and ".." components, doubled
/// slashes and a slash at its end. Purely textual: symbolic links are not looked at.
std::string standardizedPath(std::string_view path, const std::string& home);

}  // namespace velmora
