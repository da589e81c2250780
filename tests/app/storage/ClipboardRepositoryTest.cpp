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
    for (const std::string& stored : {" "s, "\n"s, std::string(limit, 'x'), "nul\0inside"s, "\xff\xfe not text"s,
                                      "Robert'); DROP TABLE clipboard_history;--"s}) {
        insert(stored);
        EXPECT_EQ(found(), Contents{stored});
        loop.run([&] { return repository.clear(); });
    }
    for (const std::string& refused : {""s, std::string(limit + 1, 'x')})
        insert(refused);
    EXPECT_EQ(found(), Contents{});
}

TEST(ClipboardEntry, TellsAddressesFromTexts) {
    for (const char* const address : {"HTTPS://EXAMPLE.ORG/Path?q=a%20b#end", "http://user@[::1]:8080/",
                                      "mailto:someone@example.org", "https://de.wikipedia.org/wiki/Übung"})
        EXPECT_EQ(ClipboardEntry::kindOf(address), "url") << address;
    for (const char* const text : {"ftp://example.org", "file:///etc/passwd", "https:", " https://example.org",
                                   "https://example.org\n", "https://example.org and more", "https://example.org/%4",
                                   "http://[::1", "https://x:99999", "http:x", "http:///x", "https://", "mailto:a b"})
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
    std::vector<Values> rows;
    for (int i = 1; i <= 10'001; ++i)
        rows.push_back({"id" + std::to_string(i), "entry " + std::to_string(i), "text", i, nullptr});
    batch("INSERT INTO clipboard_history VALUES(?,?,?,?,?)", rows);
    insert("the newest", std::nullopt, 20'000);
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM clipboard_history"), "10000");
    EXPECT_EQ(one("SELECT content AS c FROM clipboard_history ORDER BY created_at LIMIT 1"), "entry 3");
    const auto all = found();
    ASSERT_EQ(all.size(), 500U) << "no more than anybody looks at";
    EXPECT_EQ(all.front(), "the newest");
}

TEST_F(ClipboardRepositoryTest, FindsSubstringsIgnoringTheCaseOfAsciiLetters) {
    const std::string texts[] = {"The abc of it", "ÉCOLE", "école", "100% sure_thing", "帮我打开", "x\0hidden"s};
    for (const std::string& content : texts)
        insert(content);
    const std::pair<std::string, Contents> cases[] = {
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
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(found(text), expected) << text.substr(0, 20);
}

}  // namespace
}  // namespace velmora::test
