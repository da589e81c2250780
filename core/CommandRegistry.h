#pragma once

#include "core/Commands.h"
#include "core/SearchRanker.h"

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
                                                    std::size_t limit) const;

  private:
    /// A command and what ranking needs of its result, made again only when the command hands out another result.
    struct Entry {
        explicit Entry(CommandPointer made) : command(std::move(made)) {}
        void refresh() const;
        [[nodiscard]] std::string_view order() const {
            return canonicalTitle.empty() ? std::string_view(result->title) : canonicalTitle;
        }

        CommandPointer command;
        mutable ResultPointer result;
        mutable SearchKey key;
        mutable std::string canonicalTitle;  // empty when the title is canonical as it stands
    };

    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::size_t> positions_;
};

}  // namespace velmora
