#include "core/CommandRegistry.h"

#include "core/AppError.h"
#include "core/Assert.h"
#include "core/Text.h"

#include <algorithm>
#include <unordered_set>

namespace velmora {

void CommandRegistry::Entry::refresh() const {
    ResultPointer current = command->result(CommandContext{});
    if (current == result) return;
    result = std::move(current);
    key = SearchKey(result->title, result->keywords);
    canonicalTitle = text::canonical(result->title);
    if (canonicalTitle == result->title) canonicalTitle.clear();
}

void CommandRegistry::registerCommand(CommandPointer command) {
    VELMORA_ASSERT_MAIN();
    if (!positions_.try_emplace(command->id(), entries_.size()).second) {
        throw AppError::configuration("Duplicate command identifier.");
    }
    entries_.emplace_back(std::move(command));
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
        entries_.emplace_back(std::move(command));
    positions_.clear();
    for (std::size_t i = 0; i < entries_.size(); ++i)
        positions_.emplace(entries_[i].command->id(), i);
}

std::vector<ResultPointer> CommandRegistry::results() const {
    VELMORA_ASSERT_MAIN();
    std::vector<ResultPointer> all;
    all.reserve(entries_.size());
    for (const Entry& entry : entries_)
        all.push_back(entry.command->result(CommandContext{}));
    return all;
}

std::vector<ResultPointer> CommandRegistry::ranked(std::string_view query, const UsageMap& usages, const Clock& clock,
                                                   std::size_t limit) const {
    VELMORA_ASSERT_MAIN();
    struct Candidate {
        double score;
        const Entry* entry;
    };
    const SearchRanker ranker(query);
    std::vector<Candidate> candidates;
    for (const Entry& entry : entries_) {
        entry.refresh();
        const auto base = ranker.baseScore(entry.key);
        if (!base) continue;
        const auto usage = usages.find(entry.result->id);
        candidates.push_back(
            {usage == usages.end() ? *base : *base + SearchRanker::boost(usage->second, clock.now()), &entry});
    }
    const auto kept = candidates.begin() + static_cast<std::ptrdiff_t>(std::min(limit, candidates.size()));
    std::partial_sort(candidates.begin(), kept, candidates.end(), [](const Candidate& left, const Candidate& right) {
        if (left.score != right.score) return left.score > right.score;
        return left.entry->order() < right.entry->order();
    });
    std::vector<ResultPointer> ranked;
    ranked.reserve(static_cast<std::size_t>(kept - candidates.begin()));
    for (auto it = candidates.begin(); it != kept; ++it)
        ranked.push_back(it->entry->result);
    return ranked;
}

}  // namespace velmora
