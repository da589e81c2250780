#include "app/storage/AppLaunchRepository.h"
#include "app/storage/CommandUsageStore.h"
#include "app/storage/QuicklinkRepository.h"
#include "app/storage/SettingsRepository.h"
#include "core/settings/AppPreferences.h"
#include "tests/app/storage/StorageFixture.h"

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class CommandUsageStoreTest : public StorageTest {
  protected:
    const CommandUsageStore store{database, clock};
    UsageMap load() {
        return loop.run([&] { return store.load(); });
    }
    void record(const std::string& id) {
        loop.run([&] { return store.record(id); });
    }
};

TEST_F(CommandUsageStoreTest, CountsUsesAndKeepsTheLastTime) {
    EXPECT_TRUE(load().empty());
    record("finder");
    clock.advance(1500ms);
    record("finder");
    record("app:/Applications/Ünï.app");
    const UsageMap expected{{"finder", {2, clock.now()}}, {"app:/Applications/Ünï.app", {1, clock.now()}}};
    EXPECT_EQ(load(), expected);
}

TEST_F(CommandUsageStoreTest, SkipsRowsThatDoNotRead) {
    record("good");
    execute(
        "INSERT INTO command_usage VALUES('signed','+3',0), ('words','many',0), ('fraction',1.5,0), "
        "('no time',1,'never'), (NULL,1,0)");
    const UsageMap loaded = load();
    EXPECT_EQ(loaded.size(), 2U);
    EXPECT_EQ(loaded.at("good").count, 1);
    EXPECT_EQ(loaded.at("signed").count, 3);
}

class AppLaunchRepositoryTest : public StorageTest {
  protected:
    const AppLaunchRepository launches{database, clock};
    void record(const std::string& app, const std::string& arguments) {
        loop.run([&] { return launches.record(app, arguments); });
        clock.advance(1s);
    }
    std::string recents(const std::string& app, int limit) {
        std::string lines;
        for (const auto& launch : loop.run([&] { return launches.recents(app, limit); }))
            lines += launch.arguments + "×" + std::to_string(launch.count) + " ";
        return lines;
    }
};

TEST_F(AppLaunchRepositoryTest, OffersTheMostRecentTextsOfOneApplication) {
    for (int i = 1; i <= 10; ++i)
        record("/A.app", std::to_string(i));
    record("/B.app", "other");
    const TimePoint last = clock.now();
    record("/A.app", "4");
    EXPECT_EQ(recents("/A.app", 8), "4×2 10×1 9×1 8×1 7×1 6×1 5×1 3×1 ");
    EXPECT_EQ(recents("/B.app", 8), "other×1 ");
    EXPECT_EQ(recents("/a.app", 8), "");
    const auto first = loop.run([&] { return launches.recents("/A.app", 1); });
    EXPECT_EQ(first, (std::vector<AppLaunchRecord>{{"/A.app", "4", 2, last}}));
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM app_launches"), "11");
}

TEST_F(AppLaunchRepositoryTest, SkipsRowsThatDoNotRead) {
    record("/A.app", "kept");
    execute("INSERT INTO app_launches VALUES('/A.app','bad count','x',9e9), ('/A.app','bad time',1,'x')");
    EXPECT_EQ(recents("/A.app", 8), "kept×1 ");
}

class SettingsRepositoryTest : public StorageTest {
  protected:
    const SettingsRepository settings{database};
    std::optional<AppPreferences> load() {
        return loop.run([&] { return settings.load<AppPreferences>("preferences"); });
    }
    void save(const AppPreferences& preferences) {
        loop.run([&] { return settings.save("preferences", preferences); });
    }
};

TEST_F(SettingsRepositoryTest, SavesTheWholeRecordUnderOneKey) {
    EXPECT_EQ(load(), std::nullopt);
    AppPreferences preferences;
    save(preferences);
    EXPECT_EQ(load(), AppPreferences());
    preferences.clipboardEnabled = false;
    preferences.clipboardLimit = 10'000;
    preferences.hotkey.keyLabel = "K";
    preferences.model = " modèle \"x\"\n";
    save(preferences);
    EXPECT_EQ(load(), preferences);
    EXPECT_EQ(one("SELECT COUNT(*) AS c FROM settings"), "1");
}

TEST_F(SettingsRepositoryTest, AStoredDocumentThatDoesNotFitIsReportedAndKept) {
    const std::string good = AppPreferences().toJSON().encodedString();
    for (const std::string& stored : {std::string("{}"), std::string(), good.substr(0, good.size() - 1)}) {
        execute("INSERT OR REPLACE INTO settings(key,value) VALUES('preferences',?)", {stored});
        EXPECT_THROW(load(), JSONError) << stored;
        EXPECT_EQ(one("SELECT value AS c FROM settings"), stored);
    }
}

class QuicklinkRepositoryTest : public StorageTest {
  protected:
    const QuicklinkRepository quicklinks{database};
    std::vector<Quicklink> load() {
        return loop.run([&] { return quicklinks.load(); });
    }
    void save(const Quicklink& link) {
        loop.run([&] { return quicklinks.save(link); });
    }
    void remove(const std::string& id) {
        loop.run([&] { return quicklinks.remove(id); });
    }
};

TEST_F(QuicklinkRepositoryTest, KeepsLinksInTheOrderOfTheirTitlesBytes) {
    EXPECT_TRUE(load().empty());
    const Quicklink hostile{"3", "a'); DROP TABLE quicklinks;--", "https://example.com/?q={query}%20"};
    save({"1", "b", "https://b.example/"});
    save({"2", "B", "file:///b"});
    save(hostile);
    save({"4", "b", "https://again.example/"});
    const auto all = load();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[0].title, "B");
    EXPECT_EQ(all[1], hostile);
    EXPECT_EQ(all[2].title + all[3].title, "bb") << "the same title twice is two links";

    save({"2", "z", "https://z.example/"});
    EXPECT_EQ(load().back(), (Quicklink{"2", "z", "https://z.example/"})) << "the same identifier is the same link";
    remove("1");
    remove("no such link");
    EXPECT_EQ(load().size(), 3U);
}

}  // namespace
}  // namespace velmora::test
