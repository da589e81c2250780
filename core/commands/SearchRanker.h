#pragma once

#include "core/async/Clock.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmora {

/// How often a command was run, and when last.
struct CommandUsage {
    std::int64_t count = 0;
    TimePoint lastUsed;

    bool operator==(const CommandUsage&) const = default;
};

/// The folded texts of a result: the title, then each keyword, each ended by a byte that no UTF-8 text has.
struct SearchTexts {
    std::string_view bytes;
    std::size_t titleLength = 0;
    /// The letter pairs of `bytes` as a 64-bit set: a text can only occur in another whose set includes its own.
    std::uint64_t pairs = 0;

    /// Appends the texts of a result to `storage`, which the returned view is a part of until it is next changed.
    static SearchTexts append(std::string& storage, std::string_view title, std::span<const std::string> keywords);

    static std::uint64_t pairsOf(std::string_view folded);
};

/// Scores results against what the user typed.
///
/// Matching folds letter case and diacritics away. There is no fuzzy matching, and subtitles never match.
class SearchRanker {
  public:
    /// A query made ready for scoring many results.
    explicit SearchRanker(std::string_view query);

    /// 120 when the title is the query, 90 when it starts with it, 65 when it contains it, 40 when a keyword contains
    /// it, 1 for the empty query; nothing when the query does not match.
    [[nodiscard]] std::optional<double> baseScore(const SearchTexts& texts) const;

    /// What usage adds to a base score: 2·log2(count + 1) up to 10 for frequency, and 5 less a point per day since the
    /// last use for recency.
    [[nodiscard]] static double boost(const CommandUsage& usage, TimePoint now);

    /// The base score with the boost for one result by itself.
    [[nodiscard]] static std::optional<double> score(std::string_view query, std::string_view title,
                                                     std::span<const std::string> keywords,
                                                     const std::optional<CommandUsage>& usage, TimePoint now);

  private:
    std::string query_;
    std::uint64_t pairs_;
};

}  // namespace velmora
