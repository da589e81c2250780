#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

/// Which paths (text) stay out of the index, with everything below them: those that begin with one of some prefixes,
/// and those that are too long to be anybody's.
///
/// Runs on: any thread.
class SkipRule {
  public:
    /// Four times what the system itself takes for a path.
    static constexpr std::size_t maximumPathBytes = std::size_t{16} * 1024;

    SkipRule() = default;
    SkipRule(std::vector<std::string> prefixes)  // NOLINT(google-explicit-constructor): the prefixes are the rule
        : prefixes_(std::move(prefixes)) {}

    [[nodiscard]] bool skips(std::string_view path) const {
        return path.size() > maximumPathBytes ||
               std::any_of(prefixes_.begin(), prefixes_.end(),
                           [&](const std::string& prefix) { return path.starts_with(prefix); });
    }

  private:
    std::vector<std::string> prefixes_;
};

}  // namespace velmora
