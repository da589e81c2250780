// Every text is a query or gets a sentence. No letter typed gets lost, what was read is read again as it is, and the
// statement has a parameter for every value.
#include "fuzz/Fuzz.h"

#include "app/storage/fileindex/FileIndexQuery.h"
#include "core/AppError.h"
#include "core/text/Text.h"

#include <algorithm>

namespace velmora::fuzz {
namespace {

using Fragments = std::vector<std::string>;

std::ptrdiff_t letters(std::string_view text) {
    return std::ranges::count_if(text, [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; });
}

/// Each fragment is the only one when it stands in quotes again. How many letters they have together.
std::ptrdiff_t checked(Fragments FileSearchQuery::*field, const FileSearchQuery& query, const std::string& prefix) {
    std::ptrdiff_t kept = 0;
    for (const std::string& fragment : query.*field) {
        check(!fragment.empty());
        kept += letters(fragment);
        // Marks would join the quotes.
        const bool isPlain = std::ranges::none_of(fragment, [](char c) { return c < ' ' || c == '"'; });
        if (isPlain) check(FileSearchQuery("\"" + prefix + fragment + "\"").*field == Fragments{fragment});
    }
    return kept;
}

}  // namespace

void run(std::string_view input) {
    try {
        const FileSearchQuery query(input);
        check(text::characterCount(input) <= FileSearchQuery::maximumCharacters);
        const auto terms = checked(&FileSearchQuery::terms, query, "");
        const auto pathTerms = checked(&FileSearchQuery::pathTerms, query, "path:");
        checked(&FileSearchQuery::extensions, query, "EXT:");
        const bool hasOperators = input.find(':') != std::string_view::npos;
        check(hasOperators || terms + pathTerms == letters(input));
        if (query.isEmpty()) return;
        const auto statement = searchStatement(query, {"/folder", 10, input.size() % 2 == 0, "/home"});
        check(std::ranges::count(statement.sql, '?') == std::ssize(statement.values));
    } catch (const AppError& error) {
        check(error.kind() == AppError::Kind::recoverable && *error.what() != '\0');
    }
}

}  // namespace velmora::fuzz
