#include "core/files/FileSearchQuery.h"

#include "core/AppError.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora {
namespace {

std::string joined(const std::vector<std::string>& parts) {
    std::string line;
    for (const std::string& part : parts)
        line += "<" + part + ">";
    return line;
}

/// The query on one line: terms, path terms, extensions, kind, order; or the sentence it fails with.
std::string read(const std::string& text) {
    try {
        const FileSearchQuery query(text);
        const char* const kind = query.directoriesOnly ? (*query.directoriesOnly ? "folder" : "file") : "";
        return joined(query.terms) + "|" + joined(query.pathTerms) + "|" + joined(query.extensions) + "|" + kind + "|" +
               query.sort;
    } catch (const AppError& error) {
        EXPECT_EQ(error.kind(), AppError::Kind::recoverable);
        return error.what();
    }
}

std::string repeated(const std::string& part, int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += part;
    return text;
}

TEST(FileSearchQuery, ReadsTheLanguage) {
    const std::pair<std::string, std::string> cases[] = {
        {R"("annual report" 2026)", "<annual report><2026>||||relevance"},
        {R"(re"po rt"s "open end )", "<repo rts><open end >||||relevance"},
        {"a\u00A0b\u3000c\r\nd\u2028e", "<a><b><c><d><e>||||relevance"},
        {"x ext:.PDF,,docx. Ext:tar.gz,ÄRA", "<x>||<pdf><docx><tar.gz><ära>||relevance"},
        {"Downloads/report ~/x path:Downloads PATH:a/B", "|<Downloads/report><~/x><Downloads><a/B>|||relevance"},
        {R"("path:My Files" "ext:pdf")", "|<My Files>|<pdf>||relevance"},
        {"kind:file kind:folder sort:SIZE sort:name", "|||folder|name"},
        {"extra kinds sorted ext :x", "<extra><kinds><sorted><ext><:x>||||relevance"},
        {repeated("a ", 16), repeated("<a>", 16) + "||||relevance"},
        {"\xFF\xFE caf\xE9", "<\xFF\xFE><caf\xE9>||||relevance"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(read(text), expected) << text;
}

TEST(FileSearchQuery, SaysWhatToChange) {
    const std::string tooLong = "Use a search under 1,000 characters.";
    const std::string tooMany = "Use at most 16 search terms.";
    const std::string extension = "Add an extension, for example ext:pdf or ext:pdf,docx.";
    const std::string kind = "Use kind:file or kind:folder.";
    const std::string order = "Use sort:relevance, name, size or modified.";
    const std::string fragment = "Add a path fragment after path:.";
    const std::pair<std::string, std::string> cases[] = {
        {repeated("e\u0301", 1001), tooLong},
        {repeated("a ", 17), tooMany},
        {"ext:...", extension},
        {"kind:files", kind},
        {"sort:date", order},
        {"path:", fragment},
        {"a kind:x sort:y", kind},
    };
    for (const auto& [text, sentence] : cases)
        EXPECT_EQ(read(text), sentence) << text.substr(0, 40);
}

}  // namespace
}  // namespace velmora
