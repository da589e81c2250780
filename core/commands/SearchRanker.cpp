#include "core/commands/SearchRanker.h"

#include "core/text/Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velmora {
namespace {

constexpr char separator = '\xFF';  // occurs in no UTF-8 text, so no match spans two texts

}  // namespace

SearchTexts SearchTexts::append(std::string& storage, std::string_view title, std::span<const std::string> keywords) {
    const std::size_t start = storage.size();
    storage += text::fold(title);
    const std::size_t titleLength = storage.size() - start;
    storage += separator;
    for (const std::string& keyword : keywords) {
        storage += text::fold(keyword);
        storage += separator;
    }
    const std::string_view bytes = std::string_view(storage).substr(start);
    return {bytes, titleLength, pairsOf(bytes)};
}

std::uint64_t SearchTexts::pairsOf(std::string_view folded) {
    std::uint64_t set = 0;
    for (std::size_t i = 1; i < folded.size(); ++i) {
        const auto first = static_cast<unsigned char>(folded[i - 1]);
        const auto second = static_cast<unsigned char>(folded[i]);
        set |= std::uint64_t{1} << ((first * 37U + second * 11U) & 63U);
    }
    return set;
}

SearchRanker::SearchRanker(std::string_view query)
    : query_(text::trimmed(text::fold(query))), pairs_(SearchTexts::pairsOf(query_)) {}

std::optional<double> SearchRanker::baseScore(const SearchTexts& texts) const {
    if (query_.empty()) return 1;
    if ((texts.pairs & pairs_) != pairs_) return std::nullopt;
    const void* found = memmem(texts.bytes.data(), texts.bytes.size(), query_.data(), query_.size());
    if (!found) return std::nullopt;
    // The title comes first, so the first occurrence decides the rule.
    const auto position = static_cast<std::size_t>(static_cast<const char*>(found) - texts.bytes.data());
    if (position > texts.titleLength) return 40;
    if (position > 0) return 65;
    return query_.size() == texts.titleLength ? 120 : 90;
}

double SearchRanker::boost(const CommandUsage& usage, TimePoint now) {
    const auto count = static_cast<double>(std::max<std::int64_t>(usage.count, 0));
    const double frequency = std::min(10.0, 2 * std::log2(count + 1));
    const double days = std::chrono::duration<double>(now - usage.lastUsed).count() / 86'400;
    return frequency + std::max(0.0, 5 - days);
}

std::optional<double> SearchRanker::score(std::string_view query, std::string_view title,
                                          std::span<const std::string> keywords,
                                          const std::optional<CommandUsage>& usage, TimePoint now) {
    std::string storage;
    const auto base = SearchRanker(query).baseScore(SearchTexts::append(storage, title, keywords));
    if (!base || !usage) return base;
    return *base + boost(*usage, now);
}

}  // namespace velmora
