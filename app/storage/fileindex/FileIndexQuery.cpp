#include "app/storage/fileindex/FileIndexQuery.h"

#include "core/text/Text.h"

#include <algorithm>
#include <iterator>

namespace velmora {
namespace {

constexpr std::string_view nameMatches = "name LIKE ? ESCAPE '\\'";
constexpr std::size_t shortestTrigram = 3;  // the full-text index knows no shorter fragment

/// A part of a statement and the values of its parameters.
struct Clauses {
    std::string text;
    std::vector<SQLValue> values;

    void add(std::string_view clause, std::vector<SQLValue> bound = {}) {
        if (!text.empty()) text += " AND ";
        text += clause;
        std::move(bound.begin(), bound.end(), std::back_inserter(values));
    }
};

std::string containing(std::string_view fragment) {
    return "%" + escapedLike(fragment) + "%";
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string text;
    for (const std::string& part : parts) {
        if (&part != &parts.front()) text += separator;
        text += part;
    }
    return text;
}

/// A term as a string of the full-text query language.
std::string quoted(std::string_view term) {
    std::string text = "\"";
    for (const char c : term)
        text.append(c == '"' ? 2 : 1, c);
    return text + "\"";
}

bool isShort(const std::string& term) {
    return text::characterCount(term) < shortestTrigram;
}

/// It would occur in too many names: it is taken for the beginning of one.
bool isLoneShortTerm(const FileSearchQuery& query) {
    return query.terms.size() == 1 && isShort(query.terms.front());
}

void addTerms(Clauses& where, const FileSearchQuery& query, bool fullText) {
    std::vector<std::string> longTerms;
    std::vector<std::string> shortTerms;
    for (const std::string& term : query.terms)
        (isShort(term) ? shortTerms : longTerms).push_back(term);
    if (!longTerms.empty() && fullText) {
        std::transform(longTerms.begin(), longTerms.end(), longTerms.begin(), quoted);
        where.add("rowid IN (SELECT rowid FROM file_index_fts WHERE file_index_fts MATCH ?)",
                  {joined(longTerms, " AND ")});
    } else {
        for (const std::string& term : longTerms)
            where.add(nameMatches, {containing(term)});
    }
    const bool alone = isLoneShortTerm(query);
    for (const std::string& term : shortTerms)
        where.add(nameMatches, {alone ? escapedLike(term) + "%" : containing(term)});
}

void addExtensions(Clauses& where, const std::vector<std::string>& extensions) {
    if (extensions.empty()) return;
    where.add("is_directory=0");
    std::string any;
    for (const std::string& extension : extensions) {
        any.append(any.empty() ? "(" : " OR ").append(nameMatches);
        where.values.emplace_back("%." + escapedLike(extension));
    }
    where.add(any + ")");
}

Clauses order(const FileSearchQuery& query) {
    if (query.sort == "size") return {"size DESC, path", {}};
    if (query.sort == "modified") return {"modified DESC, path", {}};
    if (query.sort == "name") return {"name COLLATE NOCASE, path", {}};
    // The very name first, then names that begin with it.
    const std::string typed = joined(query.terms, " ");
    return {
        "CASE WHEN name = ? COLLATE NOCASE THEN 0 WHEN name LIKE ? ESCAPE '\\' THEN 1 ELSE 2 END, length(path), "
        "name COLLATE NOCASE, path",
        {typed, escapedLike(typed) + "%"}};
}

}  // namespace

BoundStatement searchStatement(const FileSearchQuery& query, const SearchScope& scope) {
    constexpr std::int64_t mostRows = 1000;
    Clauses where;
    addTerms(where, query, scope.fullText);
    for (const std::string& term : query.pathTerms)
        where.add("path LIKE ? ESCAPE '\\'", {containing(expandedTilde(term, scope.home))});
    addExtensions(where, query.extensions);
    if (query.directoriesOnly) where.add("is_directory=?", {*query.directoriesOnly});
    if (scope.folder) {
        where.add("(parent=? OR parent LIKE ? ESCAPE '\\')",
                  {*scope.folder, escapedLike(prefixBelow(*scope.folder)) + "%"});
    }
    Clauses by = order(query);
    std::vector<SQLValue> values = std::move(where.values);
    std::move(by.values.begin(), by.values.end(), std::back_inserter(values));
    values.emplace_back(std::clamp<std::int64_t>(scope.limit, 1, mostRows));
    return {"SELECT path,name,is_directory,size,modified FROM file_index WHERE " + where.text + " ORDER BY " + by.text +
                " LIMIT ?",
            std::move(values), isLoneShortTerm(query)};
}

std::string escapedLike(std::string_view text) {
    std::string pattern;
    for (const char c : text) {
        if (c == '%' || c == '_' || c == '\\') pattern += '\\';
        pattern += c;
    }
    return pattern;
}

std::string expandedTilde(std::string_view path, std::string_view home) {
    if (path != "~" && !path.starts_with("~/")) return std::string(path);
    return std::string(home).append(path.substr(1));
}

std::string folderPath(std::string_view path, std::string_view home) {
    std::string folder = expandedTilde(path, home);
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.pop_back();
    return folder;
}

std::string prefixBelow(std::string_view folder) {
    std::string prefix(folder);
    if (!prefix.ends_with('/')) prefix += '/';
    return prefix;
}

std::pair<std::string, std::string> rangeBelow(std::string_view folder) {
    std::string start = prefixBelow(folder);
    std::string end = start;
    end.back() = '/' + 1;  // they lie between the folder with a slash and the folder with the character after it
    return {std::move(start), std::move(end)};
}

}  // namespace velmora
