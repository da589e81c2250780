#include "app/storage/AppLaunchRepository.h"
#include "app/storage/ClipboardRepository.h"
#include "app/storage/CommandUsageStore.h"
#include "app/storage/QuicklinkRepository.h"
#include "app/storage/SettingsRepository.h"
#include "app/storage/fileindex/FileIndexRepository.h"
#include "core/settings/AppPreferences.h"
#include "tests/app/storage/StorageFixture.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class RepositoriesTest : public StorageTest {
  protected:
    UsageMap usages() {
        return loop.run([&] { return usage.load(); });
    }
    std::string recents(const std::string& app) {
        std::string lines;
        for (const auto& launch : loop.run([&] { return launches.recents(app, 8); }))
            lines += launch.arguments + "×" + std::to_string(launch.count) + " ";
        return lines;
    }
    std::optional<AppPreferences> preferences() {
        return loop.run([&] { return settings.load<AppPreferences>("preferences"); });
    }
    std::vector<Quicklink> links() {
        return loop.run([&] { return quicklinks.load(); });
    }

    const CommandUsageStore usage{database, clock};
    const AppLaunchRepository launches{database, clock};
    const SettingsRepository settings{database};
    const QuicklinkRepository quicklinks{database};
};

TEST_F(RepositoriesTest, CommandUsesAreCountedWithTheLastTime) {
    const auto record = [&](const std::string& id) { loop.run([&] { return usage.record(id); }); };
    EXPECT_TRUE(usages().empty());
    record("finder");
    clock.advance(1500ms);
    record("finder");
    record("app:/Applications/Ünï.app");
    EXPECT_EQ(usages(), (UsageMap{{"finder", {2, clock.now()}}, {"app:/Applications/Ünï.app", {1, clock.now()}}}));
}

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
    EXPECT_EQ(recents("/B.app"), "other×1 ");
    EXPECT_EQ(recents("/a.app"), "");
    const auto first = loop.run([&] { return launches.recents("/A.app", 1); });
    EXPECT_EQ(first, (std::vector<AppLaunchRecord>{{"/A.app", "4", 2, clock.now()}}));
}

TEST_F(RepositoriesTest, SettingsAreOneDocumentThatIsKeptWhenItDoesNotFit) {
    EXPECT_EQ(preferences(), std::nullopt);
    AppPreferences changed;
    changed.clipboardEnabled = false;
    changed.clipboardLimit = 10'000;
    changed.hotkey.keyLabel = "K";
    changed.model = " modèle \"x\"\n";
    for (const AppPreferences& saved : {AppPreferences(), changed}) {
        loop.run([&] { return settings.save("preferences", saved); });
        EXPECT_EQ(preferences(), saved);
    }
    const std::string good = changed.toJSON().encodedString();
    for (const std::string& stored : {std::string("{}"), std::string(), good.substr(0, good.size() - 1)}) {
        execute("INSERT OR REPLACE INTO settings(key,value) VALUES('preferences',?)", {stored});
        EXPECT_THROW(preferences(), JSONError) << stored;
        EXPECT_EQ(one("SELECT value AS c FROM settings"), stored);
    }
}

TEST_F(RepositoriesTest, QuicklinksAreInTheOrderOfTheirTitlesBytes) {
    const auto save = [&](const Quicklink& link) { loop.run([&] { return quicklinks.save(link); }); };
    const auto remove = [&](const std::string& id) { loop.run([&] { return quicklinks.remove(id); }); };
    const Quicklink hostile{"3", "a'); DROP TABLE quicklinks;--", "https://example.com/?q={query}%20"};
    for (const Quicklink& link : {Quicklink{"1", "b", "https://b.example/"}, Quicklink{"2", "B", "file:///b"}, hostile,
                                  Quicklink{"4", "b", "https://again.example/"}})
        save(link);
    const auto all = links();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[0].title, "B");
    EXPECT_EQ(all[1], hostile);
    save({"2", "z", "https://z.example/"});
    EXPECT_EQ(links().back(), (Quicklink{"2", "z", "https://z.example/"})) << "the same identifier is the same link";
    remove("1");
    remove("no such link");
    EXPECT_EQ(links().size(), 3U);
}

TEST_F(RepositoriesTest, RowsThatDoNotReadAreSkipped) {
    execute(
        "INSERT INTO command_usage VALUES('good',1,5), ('signed','+3',5), ('words','many',0), ('fraction',1.5,0), "
        "('no time',1,'never'), (NULL,1,0)");
    EXPECT_EQ(usages(), (UsageMap{{"good", {1, timeFromSeconds(5)}}, {"signed", {3, timeFromSeconds(5)}}}));
    execute("INSERT INTO app_launches VALUES('/A','kept',1,5), ('/A','bad count','x',9e9), ('/A','bad time',1,'x')");
    EXPECT_EQ(recents("/A"), "kept×1 ");
    execute("INSERT INTO quicklinks VALUES('1','kept','u'), (NULL,'no id','u')");
    EXPECT_EQ(links(), (std::vector<Quicklink>{{"1", "kept", "u"}}));
    execute(
        "INSERT INTO clipboard_history VALUES('good','kept','url',5,NULL), (NULL,'no id','text',4,NULL), "
        "('bad time','x','text','never',NULL)");
    const ClipboardRepository clipboard(database, clock);
    EXPECT_EQ(loop.run([&] { return clipboard.search(""); }),
              (std::vector<ClipboardEntry>{{"good", "kept", "url", timeFromSeconds(5), std::nullopt}}));
    execute("INSERT INTO index_roots VALUES('1','/kept',0), (NULL,'/without-id',0)");
    const FileIndexRepository index(database, "/home/u", clock);
    EXPECT_EQ(loop.run([&] { return index.roots(); }), (std::vector<IndexRoot>{{"1", "/kept"}}));
}

}  // namespace
}  // namespace velmora::test
