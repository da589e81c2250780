#pragma once

#include <algorithm>
#include <string_view>

namespace velmora {

inline std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// The path without its last component: of "/a/b" it is "/a", of that "/", of "a" and "/" nothing.
inline std::string_view parentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (path.size() <= 1 || slash == std::string_view::npos) return {};
    return path.substr(0, std::max<std::size_t>(slash, 1));
}

}  // namespace velmora
