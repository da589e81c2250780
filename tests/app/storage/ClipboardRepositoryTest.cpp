#include "app/storage/ClipboardRepository.h"

#include "tests/app/storage/StorageFixture.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

class ClipboardRepositoryTest : public StorageTest {
  protected:
    const ClipboardRepository repository{database, clock};

    void insert(const std::string& content, const std::optional<std::string>& source = std::nullopt,
                std::int64_t limit = 500) {
        loop.run([&] { return repository.insert(content, source, limit); });
        clock.advance(1s);
    }
    std::vector<ClipboardEntry> entries(const std::string& text = "") {
        return loop.run([&] { return repository.search(text); });
    }
    std::vector<std::string> found(const std::string& text = "") {
        std::vector<std::string> all;
        for (const ClipboardEntry& entry : entries(text))
            all.push_back(entry.content);
        return all;
    }
    /// Rows 1 to `count`, the last the newest, without asking for each.
    void fill(int count) {
        std::vector<Values> rows;
        for (int i = 1; i <= count; ++i)
            rows.push_back({"id" + std::to_string(i), "entry " + std::to_string(i), "text", i, nullptr});
        batch("INSERT INTO clipboard_history VALUES(?,?,?,?,?)", rows);
    }
    std::string count() { return one("SELECT COUNT(*) AS c FROM clipboard_history"); }

    using Contents = std::vector<std::string>;
};

TEST_F(ClipboardRepositoryTest, KeepsEachTextOnceWithItsLastCopy) {
    insert("https://example.org/a", "org.example.First");
    insert("other");
    const auto before = entries();
    const TimePoint again = clock.now();
    insert("https://example.org/a", "org.example.Second");
    const auto after = entries();
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(after[0], (ClipboardEntry{before[1].id, "https://example.org/a", "url", again, "org.example.Second"}));
    EXPECT_EQ(after[1], before[0]);
    insert("https://example.org/a");
    EXPECT_EQ(entries()[0].sourceApp, std::nullopt) << "the last copy's source is not known";
}

TEST_F(ClipboardRepositoryTest, StoresWhatIsNeitherEmptyNorTooLarge) {
    const std::size_t limit = ClipboardRepository::maximumBytes;
    struct Case {
        std::string content;
        bool stored;
    };
    std::string letters = "x";
    for (std::size_t i = 1; i < limit; i += 3)
        letters += "€";
    ASSERT_EQ(letters.size(), limit);
    const std::vector<Case> cases{{"", false},
                                  {" ", true},
                                  {"\n", true},
                                  {std::string(limit, 'x'), true},
                                  {std::string(limit + 1, 'x'), false},
                                  {letters, true},
                                  {letters + "y", false},
                                  {"Robert'); DROP TABLE clipboard_history;--", true},
                                  {"nul\0inside"s, true},
                                  {"\xff\xfe not text", true}};
    for (const Case& one : cases) {
        insert(one.content);
        EXPECT_EQ(found(), one.stored ? Contents{one.content} : Contents{}) << one.content.substr(0, 20);
        loop.run([&] { return repository.clear(); });
    }
}

TEST(ClipboardEntry, TellsAddressesFromTexts) {
    for (const char* const address :
         {"https://example.org", "HTTPS://EXAMPLE.ORG/Path?q=a%20b#end", "http://user@[::1]:8080/",
          "mailto:someone@example.org", "https://de.wikipedia.org/wiki/Übung"})
        EXPECT_EQ(ClipboardEntry::kindOf(address), "url") << address;
    for (const char* const text :
         {"ftp://example.org", "file:///etc/passwd", "javascript:alert(1)", "https", "https:", "httpss://example.org",
          " https://example.org", "https://example.org\n", "https://example.org and more", "https://example.org/%zz",
          "https://example.org/%4", "see https://example.org"})
        EXPECT_EQ(ClipboardEntry::kindOf(text), "text") << text;
}

TEST_F(ClipboardRepositoryTest, KeepsTheNewest) {
    for (const char* content : {"one", "two", "three", "four", "five"})
        insert(content, std::nullopt, 3);
    EXPECT_EQ(found(), (Contents{"five", "four", "three"}));
    insert("three", std::nullopt, 3);
    insert("six", std::nullopt, 3);
    EXPECT_EQ(found(), (Contents{"six", "three", "five"})) << "copying again makes it new";
    for (const std::int64_t limit : {std::int64_t{0}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::min()}) {
        insert("another", std::nullopt, 2);
        loop.run([&] { return repository.prune(limit); });
        EXPECT_EQ(found().size(), 1U) << limit;
    }
}

TEST_F(ClipboardRepositoryTest, NeverKeepsMoreThanTenThousand) {
    fill(10'001);
    loop.run([&] { return repository.prune(20'000); });
    EXPECT_EQ(count(), "10000");
    const auto all = found();
    ASSERT_EQ(all.size(), 500U) << "no more than anybody looks at";
    EXPECT_EQ(all.front(), "entry 10001");
    const auto oldest = "SELECT content AS c FROM clipboard_history ORDER BY created_at LIMIT 1";
    EXPECT_EQ(one(oldest), "entry 2");
    clock.advance(1s);
    insert("the newest", std::nullopt, 10'000);
    EXPECT_EQ(count(), "10000");
    EXPECT_EQ(found("the newest"), Contents{"the newest"});
    EXPECT_EQ(one(oldest), "entry 3");
}

TEST_F(ClipboardRepositoryTest, FindsSubstringsIgnoringTheCaseOfAsciiLetters) {
    const std::string texts[] = {"The abc of it", "ÉCOLE", "école", "100% sure_thing", "帮我打开", "x\0hidden"s};
    for (const std::string& content : texts)
        insert(content);
    struct Case {
        std::string text;
        Contents found;
    };
    const Case cases[] = {
        {"ABC", {"The abc of it"}},
        {"Abc of", {"The abc of it"}},
        {"É", {"ÉCOLE"}},
        {"COLE", {"école", "ÉCOLE"}},
        {"%", {"100% sure_thing"}},
        {"_", {"100% sure_thing"}},
        {"打开", {"帮我打开"}},
        {"\xbc\x80", {}},
        {" ", {"100% sure_thing", "The abc of it"}},
        {"abc'--", {}},
        {"HIDDEN", {"x\0hidden"s}},
        {"\0h"s, {"x\0hidden"s}},
        {std::string(2000, 'a'), {}},
    };
    for (const Case& one : cases)
        EXPECT_EQ(found(one.text), one.found) << one.text.substr(0, 20);
}

TEST_F(ClipboardRepositoryTest, SkipsRowsThatDoNotRead) {
    execute(
        "INSERT INTO clipboard_history VALUES('good','kept','url',5,NULL), (NULL,'no id','text',4,NULL), "
        "('bad time','x','text','never',NULL)");
    EXPECT_EQ(entries(), (std::vector<ClipboardEntry>{{"good", "kept", "url", timeFromSeconds(5), std::nullopt}}));
}

}  // namespace
}  // namespace velmora::test
