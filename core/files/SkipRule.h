#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

/// Whether `path` is `folder` or anywhere below it.
inline bool isAtOrBelow(std::string_view path, std::string_view folder) {
    while (folder.ends_with('/'))
        folder.remove_suffix(1);
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

/// Which paths (text) stay out of the index: some folders with everything below them, and what is too long to be
/// anybody's.
///
/// Runs on: any thread.
class SkipRule {
  public:
    /// Four times what the system itself takes for a path.
    static constexpr std::size_t maximumPathBytes = std::size_t{16} * 1024;

    SkipRule() = default;
    SkipRule(std::vector<std::string> folders)  // NOLINT(google-explicit-constructor): the folders are the rule
        : folders_(std::move(folders)) {}

    [[nodiscard]] bool skips(std::string_view path) const {
        return path.size() > maximumPathBytes ||
               std::any_of(folders_.begin(), folders_.end(),
                           [&](const std::string& folder) { return isAtOrBelow(path, folder); });
    }

  private:
    std::vector<std::string> folders_;
};

}  // namespace velmora
