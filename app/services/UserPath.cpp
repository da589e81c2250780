#include "app/services/UserPath.h"

#include <filesystem>

namespace velmora {

std::string standardizedPath(std::string_view path, const std::string& home) {
    std::string whole(path);
    if (path == "~" || path.starts_with("~/")) whole.replace(0, 1, home);
    whole = std::filesystem::path(whole).lexically_normal().string();
    while (whole.size() > 1 && whole.ends_with('/'))
        whole.pop_back();
    return whole;
}

}  // namespace velmora
