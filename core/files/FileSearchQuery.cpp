#include "core/files/FileSearchQuery.h"

#include "core/AppError.h"
#include "core/text/Text.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <utility>

namespace velmora {
namespace {

std::string lowerCased(std::string_view text) {
    std::string result;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(result);
    return result;
}

/// `character` is what the user perceives as one: a line break of two code points, a letter with its marks.
bool isWhiteSpace(std::string_view character) {
    UChar32 first = 0;
    std::int32_t index = 0;
    U8_NEXT(reinterpret_cast<const std::uint8_t*>(character.data()), index, static_cast<std::int32_t>(character.size()),
            first);
    return first >= 0 && text::isWhiteSpace(static_cast<char32_t>(first));
}

std::vector<std::string> tokens(std::string_view text) {
    std::vector<std::string> result;
    std::string token;
    bool quoted = false;
    const auto end = [&] {
        if (!token.empty()) result.push_back(std::exchange(token, {}));
    };
    for (const std::string_view character : text::characters(text)) {
        if (character == "\"") {
            quoted = !quoted;
        } else if (!quoted && isWhiteSpace(character)) {
            end();
        } else {
            token += character;
        }
    }
    end();
    return result;
}

/// What follows the operator `prefix`, whose letters may have any case; nothing when `token` is something else.
std::optional<std::string_view> operand(std::string_view token, std::string_view prefix) {
    const auto matches = [](char typed, char letter) {
        return (typed >= 'A' && typed <= 'Z' ? typed - 'A' + 'a' : typed) == letter;
    };
    const std::string_view start = token.substr(0, prefix.size());
    if (!std::equal(start.begin(), start.end(), prefix.begin(), prefix.end(), matches)) return std::nullopt;
    return token.substr(prefix.size());
}

std::vector<std::string> extensionsIn(std::string_view list) {
    std::vector<std::string> result;
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        std::string_view piece = list.substr(0, comma);
        list.remove_prefix(std::min(comma + 1, list.size()));
        while (piece.starts_with('.'))
            piece.remove_prefix(1);
        while (piece.ends_with('.'))
            piece.remove_suffix(1);
        if (!piece.empty()) result.push_back(lowerCased(piece));
    }
    if (result.empty()) throw AppError::recoverable("Add an extension, for example ext:pdf or ext:pdf,docx.");
    return result;
}

bool namesFolders(std::string_view kind) {
    const std::string word = lowerCased(kind);
    if (word != "folder" && word != "file") throw AppError::recoverable("Use kind:file or kind:folder.");
    return word == "folder";
}

std::string sortWord(std::string_view typed) {
    static constexpr std::array<std::string_view, 4> words{"relevance", "name", "size", "modified"};
    std::string word = lowerCased(typed);
    if (std::find(words.begin(), words.end(), word) == words.end()) {
        throw AppError::recoverable("Use sort:relevance, name, size or modified.");
    }
    return word;
}

}  // namespace

FileSearchQuery::FileSearchQuery(std::string_view text) {
    if (text::prefix(text, maximumCharacters).size() < text.size()) {
        throw AppError::recoverable("Use a search under 1,000 characters.");
    }
    std::vector<std::string> all = tokens(text);
    if (all.size() > maximumTokens) throw AppError::recoverable("Use at most 16 search terms.");
    for (std::string& token : all) {
        if (const auto list = operand(token, "ext:")) {
            for (std::string& extension : extensionsIn(*list))
                extensions.push_back(std::move(extension));
        } else if (const auto kind = operand(token, "kind:")) {
            directoriesOnly = namesFolders(*kind);
        } else if (const auto order = operand(token, "sort:")) {
            sort = sortWord(*order);
        } else if (const auto fragment = operand(token, "path:")) {
            if (fragment->empty()) throw AppError::recoverable("Add a path fragment after path:.");
            pathTerms.emplace_back(*fragment);
        } else if (token.find('/') != std::string::npos) {
            pathTerms.push_back(std::move(token));
        } else {
            terms.push_back(std::move(token));
        }
    }
}

}  // namespace velmora
