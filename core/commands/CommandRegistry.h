#pragma once

#include "core/commands/Commands.h"
#include "core/commands/SearchRanker.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velmora {

/// Command identifier → how it was used.
using UsageMap = std::unordered_map<std::string, CommandUsage>;

/// Every command that the commands mode can show. Groups of commands share an identifier prefix ("app:", "quicklink:")
/// and are replaced as a whole.
///
/// Ranking runs on every keystroke, so what it reads lies side by side in memory: the folded texts of all commands in
/// one buffer and a few numbers for each. That index is made again only when a command or its result has changed.
///
/// Runs on: the main thread. Fails with: `AppError` (configuration), leaving the registry as it was.
class CommandRegistry {
  public:
    using CommandPointer = std::shared_ptr<const Command>;

    /// Adds one command. Fails with "Duplicate command identifier." when its identifier is taken.
    void registerCommand(CommandPointer command);

    /// Replaces every command whose identifier starts with `prefix` by `commands`. Fails with "Invalid or duplicate
    /// command identifier." when one of them lacks the prefix or comes twice; then the old group stays.
    void replace(std::string_view prefix, std::vector<CommandPointer> commands);

    /// Every command's result, in no particular order.
    [[nodiscard]] std::vector<ResultPointer> results() const;

    /// The results that match `query`, best score first, equal scores by title in code-point order; at most `limit`.
    [[nodiscard]] std::vector<ResultPointer> ranked(std::string_view query, const UsageMap& usages, const Clock& clock,
                                                    std::size_t limit);

  private:
    struct Entry {
        CommandPointer command;
        ResultPointer result;
        std::string canonicalTitle;  // empty when the title is canonical as it stands

        [[nodiscard]] std::string_view order() const {
            return canonicalTitle.empty() ? std::string_view(result->title) : canonicalTitle;
        }
    };

    /// The numbers that most comparisons are decided by.
    struct Keys {
        std::uint64_t pairs;
        std::uint64_t firstLetters;  // the first eight bytes of the canonical title as a number, in its order
        std::uint32_t textsStart;
        std::uint32_t textsLength;
        std::uint32_t titleLength;
    };

    struct Candidate {
        double score;
        std::uint32_t position;
    };

    void refresh();
    void rebuildIndex();
    [[nodiscard]] std::vector<Candidate> matching(const SearchRanker& ranker) const;
    void boost(std::vector<Candidate>& candidates, const UsageMap& usages, const Clock& clock) const;
    [[nodiscard]] bool comesBefore(const Candidate& left, const Candidate& right) const;

    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::uint32_t> positions_;
    std::vector<std::uint32_t> changeable_;  // positions of the commands whose result may change
    std::string texts_;
    std::vector<Keys> keys_;
    bool stale_ = false;
};

}  // namespace velmora
