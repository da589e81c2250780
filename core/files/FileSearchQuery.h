#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// What one line of a file search asks for: words and "quoted phrases" of the name, and the operators path:, ext:,
/// kind: and sort:. A word with a slash in it is a fragment of the path.
struct FileSearchQuery {
    static constexpr std::size_t maximumCharacters = 1000;  ///< user-perceived ones
    static constexpr std::size_t maximumTokens = 16;

    /// Reads `text`. Fails with `AppError::recoverable` and a sentence that says what to change.
    explicit FileSearchQuery(std::string_view text);

    std::vector<std::string> terms;       ///< fragments of the name, as typed
    std::vector<std::string> pathTerms;   ///< fragments of the path, as typed
    std::vector<std::string> extensions;  ///< in lower case, without dots
    std::optional<bool> directoriesOnly;  ///< true: folders only; false: files only
    std::string sort = "relevance";       ///< or "name", "size", "modified"

    /// Nothing to look for. The order plays no part in it.
    [[nodiscard]] bool isEmpty() const {
        return terms.empty() && pathTerms.empty() && extensions.empty() && !directoriesOnly;
    }
};

}  // namespace velmora
