#include "core/commands/CommandRegistry.h"

#include "core/AppError.h"
#include "core/Assert.h"
#include "core/text/Text.h"

#include <algorithm>
#include <unordered_set>

namespace velmora {
namespace {

std::uint64_t firstLettersOf(std::string_view text) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sizeof number; ++i) {
        number = number << 8U | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
    }
    return number;
}

}  // namespace

void CommandRegistry::registerCommand(CommandPointer command) {
    VELMORA_ASSERT_MAIN();
    if (!positions_.try_emplace(command->id(), static_cast<std::uint32_t>(entries_.size())).second) {
        throw AppError::configuration("Duplicate command identifier.");
    }
    entries_.push_back({std::move(command), nullptr, {}});
    stale_ = true;
}

void CommandRegistry::replace(std::string_view prefix, std::vector<CommandPointer> commands) {
    VELMORA_ASSERT_MAIN();
    std::unordered_set<std::string_view> fresh;
    for (const auto& command : commands) {
        if (!command->id().starts_with(prefix) || !fresh.insert(command->id()).second) {
            throw AppError::configuration("Invalid or duplicate command identifier.");
        }
    }
    std::erase_if(entries_, [&](const Entry& entry) { return entry.command->id().starts_with(prefix); });
    entries_.reserve(entries_.size() + commands.size());
    for (auto& command : commands)
        entries_.push_back({std::move(command), nullptr, {}});
    positions_.clear();
    for (const Entry& entry : entries_)
        positions_.emplace(entry.command->id(), static_cast<std::uint32_t>(positions_.size()));
    stale_ = true;
}

std::vector<ResultPointer> CommandRegistry::results() const {
    VELMORA_ASSERT_MAIN();
    std::vector<ResultPointer> all;
    all.reserve(entries_.size());
    for (const Entry& entry : entries_)
        all.push_back(entry.command->result(CommandContext{}));
    return all;
}

void CommandRegistry::refresh() {
    for (const std::uint32_t position : changeable_) {
        if (stale_) break;
        stale_ = entries_[position].command->result(CommandContext{}) != entries_[position].result;
    }
    if (std::exchange(stale_, false)) rebuildIndex();
}

void CommandRegistry::rebuildIndex() {
    texts_.clear();
    keys_.clear();
    changeable_.clear();
    for (Entry& entry : entries_) {
        const auto position = static_cast<std::uint32_t>(keys_.size());
        if (!entry.command->isConstant()) changeable_.push_back(position);
        entry.result = entry.command->result(CommandContext{});
        entry.canonicalTitle = text::canonical(entry.result->title);
        const std::uint64_t firstLetters = firstLettersOf(entry.canonicalTitle);
        if (entry.canonicalTitle == entry.result->title) entry.canonicalTitle.clear();
        const std::size_t start = texts_.size();
        const SearchTexts texts = SearchTexts::append(texts_, entry.result->title, entry.result->keywords);
        keys_.push_back({texts.pairs, firstLetters, static_cast<std::uint32_t>(start),
                         static_cast<std::uint32_t>(texts.bytes.size()),
                         static_cast<std::uint32_t>(texts.titleLength)});
    }
}

std::vector<CommandRegistry::Candidate> CommandRegistry::matching(const SearchRanker& ranker) const {
    std::vector<Candidate> candidates;
    for (std::uint32_t position = 0; position < keys_.size(); ++position) {
        const Keys& keys = keys_[position];
        const SearchTexts texts{{texts_.data() + keys.textsStart, keys.textsLength}, keys.titleLength, keys.pairs};
        if (const auto score = ranker.baseScore(texts)) candidates.push_back({*score, position});
    }
    return candidates;
}

void CommandRegistry::boost(std::vector<Candidate>& candidates, const UsageMap& usages, const Clock& clock) const {
    // Few commands have ever been used, so it is their candidates that are looked up and not the other way round.
    for (const auto& [id, usage] : usages) {
        const auto known = positions_.find(id);
        if (known == positions_.end()) continue;
        const auto candidate =
            std::lower_bound(candidates.begin(), candidates.end(), known->second,
                             [](const Candidate& left, std::uint32_t position) { return left.position < position; });
        if (candidate == candidates.end() || candidate->position != known->second) continue;
        candidate->score += SearchRanker::boost(usage, clock.now());
    }
}

bool CommandRegistry::comesBefore(const Candidate& left, const Candidate& right) const {
    if (left.score != right.score) return left.score > right.score;
    const std::uint64_t leftLetters = keys_[left.position].firstLetters;
    const std::uint64_t rightLetters = keys_[right.position].firstLetters;
    if (leftLetters != rightLetters) return leftLetters < rightLetters;
    return entries_[left.position].order() < entries_[right.position].order();
}

std::vector<ResultPointer> CommandRegistry::ranked(std::string_view query, const UsageMap& usages, const Clock& clock,
                                                   std::size_t limit) {
    VELMORA_ASSERT_MAIN();
    refresh();
    std::vector<Candidate> candidates = matching(SearchRanker(query));
    boost(candidates, usages, clock);
    const auto kept = candidates.begin() + static_cast<std::ptrdiff_t>(std::min(limit, candidates.size()));
    std::partial_sort(candidates.begin(), kept, candidates.end(),
                      [this](const Candidate& left, const Candidate& right) { return comesBefore(left, right); });
    std::vector<ResultPointer> ranked;
    ranked.reserve(static_cast<std::size_t>(kept - candidates.begin()));
    for (auto it = candidates.begin(); it != kept; ++it)
        ranked.push_back(entries_[it->position].result);
    return ranked;
}

}  // namespace velmora
