#pragma once

#include "core/Clock.h"
#include "core/Commands.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// How often a command was run, and when last.
struct CommandUsage {
    std::int64_t count = 0;
    TimePoint lastUsed;

    bool operator==(const CommandUsage&) const = default;
};

/// The folded texts of a result, made once so that a keystroke only compares bytes.
class SearchKey {
  public:
    SearchKey() = default;
    SearchKey(std::string_view title, std::span<const std::string> keywords);

    /// The base score for a folded, trimmed query: 120 equal, 90 prefix, 65 inside the title, 40 inside a keyword, 1
    /// for the empty query; nothing when it does not match.
    [[nodiscard]] std::optional<double> baseScore(std::string_view foldedQuery, std::uint64_t queryPairs) const;

    /// The letter pairs of a text as a 64-bit set. A text can only occur in another whose set includes its own.
    [[nodiscard]] static std::uint64_t pairs(std::string_view folded);

  private:
    std::string texts_;  // the folded title, then each folded keyword, each ended by a byte no UTF-8 text has
    std::size_t titleLength_ = 0;
    std::uint64_t pairs_ = 0;
};

/// Scores results against what the user typed.
///
/// Matching folds letter case and diacritics away. There is no fuzzy matching, and subtitles never match.
class SearchRanker {
  public:
    /// A query made ready for scoring many keys.
    explicit SearchRanker(std::string_view query);

    /// The base score plus the usage boost: 2·log2(count + 1) up to 10 for frequency, and 5 less a point per day since
    /// the last use for recency. Nothing when the query does not match.
    [[nodiscard]] std::optional<double> score(const SearchKey& key, const CommandUsage* usage, TimePoint now) const;

    /// What does not depend on usage; `nullopt` when the query does not match.
    [[nodiscard]] std::optional<double> baseScore(const SearchKey& key) const { return key.baseScore(query_, pairs_); }

    /// What `usage` adds to a base score.
    [[nodiscard]] static double boost(const CommandUsage& usage, TimePoint now);

    /// One result scored by itself.
    [[nodiscard]] static std::optional<double> score(std::string_view query, std::string_view title,
                                                     std::span<const std::string> keywords,
                                                     const std::optional<CommandUsage>& usage, TimePoint now);

  private:
    std::string query_;
    std::uint64_t pairs_ = 0;
};

}  // namespace velmora
