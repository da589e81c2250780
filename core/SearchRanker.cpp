#include "core/SearchRanker.h"

#include "core/Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velmora {
namespace {

constexpr char separator = '\xFF';  // occurs in no UTF-8 text, so no match spans two texts

}  // namespace

SearchKey::SearchKey(std::string_view title, std::span<const std::string> keywords) : texts_(text::fold(title)) {
    titleLength_ = texts_.size();
    texts_ += separator;
    for (const std::string& keyword : keywords) {
        texts_ += text::fold(keyword);
        texts_ += separator;
    }
    texts_.shrink_to_fit();
    pairs_ = pairs(texts_);
}

std::uint64_t SearchKey::pairs(std::string_view folded) {
    std::uint64_t set = 0;
    for (std::size_t i = 1; i < folded.size(); ++i) {
        const auto first = static_cast<unsigned char>(folded[i - 1]);
        const auto second = static_cast<unsigned char>(folded[i]);
        set |= std::uint64_t{1} << ((first * 37U + second * 11U) & 63U);
    }
    return set;
}

std::optional<double> SearchKey::baseScore(std::string_view foldedQuery, std::uint64_t queryPairs) const {
    if (foldedQuery.empty()) return 1;
    if ((pairs_ & queryPairs) != queryPairs) return std::nullopt;
    const void* found = memmem(texts_.data(), texts_.size(), foldedQuery.data(), foldedQuery.size());
    if (!found) return std::nullopt;
    // The title comes first, so the first occurrence decides the rule.
    const auto position = static_cast<std::size_t>(static_cast<const char*>(found) - texts_.data());
    if (position > titleLength_) return 40;
    if (position > 0) return 65;
    return foldedQuery.size() == titleLength_ ? 120 : 90;
}

SearchRanker::SearchRanker(std::string_view query)
    : query_(text::trimmed(text::fold(query))), pairs_(SearchKey::pairs(query_)) {}

double SearchRanker::boost(const CommandUsage& usage, TimePoint now) {
    const auto count = static_cast<double>(std::max<std::int64_t>(usage.count, 0));
    const double frequency = std::min(10.0, 2 * std::log2(count + 1));
    const double days = std::chrono::duration<double>(now - usage.lastUsed).count() / 86'400;
    return frequency + std::max(0.0, 5 - days);
}

std::optional<double> SearchRanker::score(const SearchKey& key, const CommandUsage* usage, TimePoint now) const {
    const auto base = baseScore(key);
    if (!base || !usage) return base;
    return *base + boost(*usage, now);
}

std::optional<double> SearchRanker::score(std::string_view query, std::string_view title,
                                          std::span<const std::string> keywords,
                                          const std::optional<CommandUsage>& usage, TimePoint now) {
    return SearchRanker(query).score(SearchKey(title, keywords), usage ? &*usage : nullptr, now);
}

}  // namespace velmora
