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
}

TEST_F(ClipboardRepositoryTest, KeepsTheNewest) {
    for (const char* content : {"one", "two", "three", "four", "five"})
        insert(content, std::nullopt, 3);
    EXPECT_EQ(found(), (Contents{"five", "four", "three"}));
    insert("three", std::nullopt, 3);
    insert("six", std::nullopt, 3);
    EXPECT_EQ(found(), (Contents{"six", "three", "five"})) << "copying again makes it new";
    clock.advance(-1h);
    insert("seven", std::nullopt, 3);
    insert("three", std::nullopt, 3);
    EXPECT_EQ(found(), (Contents{"three", "seven", "six"})) << "whatever the clock says";
    loop.run([&] { return repository.prune(-5); });
    EXPECT_EQ(found(), Contents{"three"}) << "the newest stays whatever the limit";
    EXPECT_EQ(std::filesystem::file_size(path + "-wal"), 0U) << "where the others would still be";
}

TEST_F(ClipboardRepositoryTest, FindsSubstringsIgnoringTheCaseOfAsciiLetters) {
    const std::string hostile = "x\0'); DROP TABLE t;--\xff"s;
    const std::string texts[] = {"The abc of it", "ÉCOLE", "école", "100% sure_thing", "帮我打开", hostile};
    for (const std::string& content : texts)
        insert(content);
    const std::pair<std::string, Contents> cases[] = {
        {"Abc of", {"The abc of it"}}, {"É", {"ÉCOLE"}}, {"COLE", {"école", "ÉCOLE"}}, {"%", {"100% sure_thing"}},
        {"_", {"100% sure_thing"}},    {"\xbc\x80", {}}, {"\0'); dr"s, {hostile}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(found(text), expected) << text;
}

TEST_F(ClipboardRepositoryTest, ListsTheBeginningsOfLongTexts) {
    const std::string end = "\0 帮"s;  // its last character begins with the last byte that fits
    const std::string fits = std::string(ClipboardRepository::listedBytes - end.size(), 'x') + end;
    const std::string longer = "x" + fits;
    insert(fits);
    insert(longer);
    const auto listed = entries("\0 帮"s);
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[0].content, longer.substr(0, ClipboardRepository::listedBytes - 2));
    EXPECT_FALSE(listed[0].isWhole);
    EXPECT_EQ(listed[1].content, fits);
    EXPECT_TRUE(listed[1].isWhole);
    const auto content = [&](const std::string& id) { return loop.run([&] { return repository.content(id); }); };
    EXPECT_EQ(content(listed[0].id), longer);
    EXPECT_EQ(content("no such entry"), std::nullopt);
}

}  // namespace
}  // namespace velmora::test
