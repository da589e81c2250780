#include "app/storage/AppLaunchRepository.h"
#include "app/storage/ClipboardRepository.h"
#include "app/storage/CommandUsageStore.h"
#include "app/storage/ConversationRepository.h"
#include "app/storage/QuicklinkRepository.h"
#include "tests/app/storage/StorageFixture.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class RepositoriesTest : public StorageTest {
  protected:
    std::string recents(const std::string& app) {
        std::string lines;
        for (const auto& launch : loop.run([&] { return launches.recents(app, 8); }))
            lines += launch.arguments + "×" + std::to_string(launch.count) + " ";
        return lines;
    }

    const CommandUsageStore usage{database, clock};
    const AppLaunchRepository launches{database, clock};
    const QuicklinkRepository quicklinks{database};
};

TEST_F(RepositoriesTest, TheMostRecentTextsOfOneApplicationAreOffered) {
    const auto record = [&](const std::string& app, const std::string& arguments) {
        clock.advance(1s);
        loop.run([&] { return launches.record(app, arguments); });
    };
    for (int i = 1; i <= 10; ++i)
        record("/A.app", std::to_string(i));
    record("/B.app", "other");
    record("/A.app", "4");
    EXPECT_EQ(recents("/A.app"), "4×2 10×1 9×1 8×1 7×1 6×1 5×1 3×1 ");
}

TEST_F(RepositoriesTest, RowsThatDoNotReadAreSkipped) {
    execute("INSERT INTO command_usage VALUES('good',1,5), ('words','many',0), ('no time',1,'never'), (NULL,1,0)");
    for (int use = 0; use < 2; ++use)
        loop.run([&] { return usage.record("used"); });
    EXPECT_EQ(loop.run([&] { return usage.load(); }),
              (UsageMap{{"good", {1, timeFromSeconds(5)}}, {"used", {2, clock.now()}}}));
    execute("INSERT INTO app_launches VALUES('/A','kept',1,5), ('/A','bad count','x',9e9), ('/A','bad time',1,'x')");
    EXPECT_EQ(recents("/A"), "kept×1 ");
    execute("INSERT INTO quicklinks VALUES('1','kept','u'), (NULL,'no id','u')");
    EXPECT_EQ(loop.run([&] { return quicklinks.load(); }), (std::vector<Quicklink>{{"1", "kept", "u"}}));
    execute(
        "INSERT INTO clipboard_history VALUES('good','kept','url',5,NULL), (NULL,'no id','text',4,NULL), "
        "('bad time','x','text','never',NULL)");
    const ClipboardRepository clipboard(database, clock);
    EXPECT_EQ(loop.run([&] { return clipboard.search(""); }),
              (std::vector<ClipboardEntry>{{"good", "kept", "url", timeFromSeconds(5), std::nullopt}}));
}

TEST_F(RepositoriesTest, OfAConversationIsKeptWhatWasSaid) {
    const ConversationRepository conversations(database, pool.executor(), clock);
    using enum Message::Role;
    const Conversation whole{
        "A-1",
        {{system, "s", {}}, {user, "open it", {}}, {assistant, "1", {}}, {tool, "t", "c"}, {assistant, "2", {}}}};
    loop.run([&] { return conversations.add(whole); });
    EXPECT_EQ(one("SELECT id||messages||(updated_at=?) AS c FROM conversations", {clock.now()}),
              R"(A-1[{"content":"open it","role":"user"},{"content":"1","role":"assistant"},)"
              R"({"content":"2","role":"assistant"}]1)");
    EXPECT_EQ(failureOf([&] { loop.run([&] { return conversations.add(whole); }); }), "Could not save local data.");
    RawConnection other(path);
    ASSERT_EQ(other.run("BEGIN IMMEDIATE"), SQLITE_OK);
    EXPECT_EQ(failureOf([&] { loop.run([&] { return conversations.add(Conversation()); }); }),
              "Could not save local data.")
        << "while another program holds the file";
}

}  // namespace
}  // namespace velmora::test
