#include "tests/app/storage/fileindex/FileIndexFixture.h"

namespace velmora {
namespace {

using test::file;
using test::folderAt;

class FileIndexSearch : public test::FileIndexTest {};

TEST_F(FileIndexSearch, AnswersTheLanguage) {
    upsert({folderAt("/d/Report"), file("/d/report.pdf", 10), file("/d/Report/annual report 2026.PDF", 30, 5),
            file("/d/Report/old/my-report.docx", 20, 9), file("/d/abacus"), file("/d/cab"), file("/d/ab cd"),
            file("/d/100%_done"), file("/d/100xxdone"), file("/d/back\\slash"), file("/home/u/Work/plan.txt"),
            file("/d/say \"hi\".txt"), file("/d/naïve.txt")});
    const std::pair<const char*, const char*> cases[] = {
        // The very name, then beginnings, then the rest; in each the shorter path first.
        {"report", "/d/Report /d/report.pdf /d/Report/old/my-report.docx /d/Report/annual report 2026.PDF"},
        {"REPORT 2026", "/d/Report/annual report 2026.PDF"},
        {"\"annual report\"", "/d/Report/annual report 2026.PDF"},
        {"report sort:modified ext:docx,pdf",
         "/d/Report/old/my-report.docx /d/Report/annual report 2026.PDF /d/report.pdf"},
        {"ab", "/d/ab cd /d/abacus"},
        {"ab ac", "/d/abacus"},
        {"100%_done", "/d/100%_done"},
        {"% _", "/d/100%_done"},
        {"_ % done", "/d/100%_done"},
        {"\\s ck", "/d/back\\slash"},
        {"* NEAR(a b)", ""},
        {"ext:pdf", "/d/report.pdf /d/Report/annual report 2026.PDF"},
        {"kind:folder", "/d/Report"},
        {"kind:file path:OLD", "/d/Report/old/my-report.docx"},
        {"path:~/Work", "/home/u/Work/plan.txt"},
        {"Report/old", "/d/Report/old/my-report.docx"},
        {"na ïv", "/d/naïve.txt"},
        {"", ""},
        {"sort:size", ""},
    };
    for (const bool fullText : {true, false}) {
        if (!fullText) {
            for (const char* const trigger : {"ai", "ad", "au"})
                execute(std::string("DROP TRIGGER file_index_") + trigger);
            execute("DROP TABLE file_index_fts");
        }
        for (const auto& [text, found] : cases)
            EXPECT_EQ(search(text), found) << text << (fullText ? "" : " without full text");
    }
    upsert({file("/d/written"), file("/d/deleted")});
    deletePaths({"/d/deleted"});
    EXPECT_EQ(search("written") + search("deleted"), "/d/written") << "without full text";
}

TEST_F(FileIndexSearch, KeepsToItsScope) {
    upsert({file("/x.txt"), file("/home/u/Documents/x.txt"), file("/home/u/Documents/y/z/x.txt"),
            file("/home/u/Documents2/x.txt"), file("/home/u/Doc_ments/x.txt")});
    const std::pair<const char*, const char*> cases[] = {
        {"~/Documents", "/home/u/Documents/x.txt /home/u/Documents/y/z/x.txt"},
        {"~/Doc_ments", "/home/u/Doc_ments/x.txt"},
        {"/",
         "/x.txt /home/u/Doc_ments/x.txt /home/u/Documents/x.txt /home/u/Documents2/x.txt "
         "/home/u/Documents/y/z/x.txt"},
    };
    for (const auto& [scope, found] : cases) {
        EXPECT_EQ(search("x.txt", scope), found) << scope;
        EXPECT_EQ(search("x ext:txt", scope), found) << scope;
    }
}

TEST_F(FileIndexSearch, SurvivesHostileTexts) {
    upsert({file("/d/ab"), file("/d/abc")});
    EXPECT_EQ(search(std::string("abc\0", 4)), "") << "no name has a NUL in it";
    EXPECT_EQ(search(std::string("ab\0", 3)), "");
    EXPECT_EQ(search(std::string(1000, '%')), "");
    std::string family;
    for (int i = 0; i < 1000; ++i)
        family += "👨‍👩‍👧‍👦";
    EXPECT_EQ(search(family), "");
    EXPECT_EQ(search("path:" + family.substr(0, family.size() / 2)), "") << "the longest pattern";
    std::string marked = "e";
    for (int i = 0; i < 30'000; ++i)
        marked += "\u0301";
    for (const char* const prefix : {"", "path:", "ext:", "abc "})
        EXPECT_EQ(search(prefix + marked), "") << "one character, and longer than a pattern may be: " << prefix;
    EXPECT_EQ(search("a\xFF b\xFE path:\xFF"), "");
}

}  // namespace
}  // namespace velmora
