#include "app/composition/AppServices.h"

#include "app/services/StorageHealth.h"
#include "app/services/clipboard/ClipboardService.h"
#include "app/services/files/FileIndexService.h"
#include "app/services/quick/Shortcuts.h"
#include "tests/fakes/FakePlatform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class AppServicesTest : public testing::Test, protected test::FakePlatform {
  protected:
    AppServicesTest() {
        const mode_t mask = umask(0);
        services = makeServices();
        umask(mask);
    }

    std::shared_ptr<AppServices> services;
};

TEST_F(AppServicesTest, AppliesTheStoredPreferencesAndRefusesUnreadableOnes) {
    for (const std::string made : {"/data", "/data/Velmora"})
        EXPECT_EQ(fs::status(folder.path() + made).permissions(), fs::perms::owner_all) << made;
    AppPreferences stored;
    stored.clipboardEnabled = false;
    stored.clipboardLimit = 7;
    loop.run([&] { return services->settings.save("preferences", stored); });
    loop.run([&] { return services->start(); });
    EXPECT_EQ(services->preferences.current(), stored);
    EXPECT_FALSE(services->clipboard->enabled);
    EXPECT_EQ(services->clipboard->maximumItems, 7);
    loop.run([&] { return services->database->execute("UPDATE settings SET value='{}' WHERE key='preferences'"); });
    EXPECT_ANY_THROW(loop.run([&] { return services->preferences.load(); }));
    EXPECT_EQ(services->preferences.current(), stored) << "nothing is put in their place";
}

TEST_F(AppServicesTest, QuittingDuringTheStartStartsNothingAgain) {
    const TaskHandle start = spawn(loop.executor(), [&] { return services->start(); });
    services->stopWatching();
    start.cancel();
    loop.until([&] { return start.done(); });
    services->startWatching();
    pasteboard.copyText("text");
    loop.settle();
    clock.advance(2s);
    loop.settle();
    EXPECT_TRUE(services->shortcuts->statusText().empty()) << "never listed";
    EXPECT_TRUE(loop.run([&] { return services->clipboard->search("", std::nullopt); }).empty());
    loop.run([&] { return services->stop(); });
    EXPECT_ANY_THROW(loop.run([&] { return services->usage.record("x"); })) << "the database is closed";
}

TEST_F(AppServicesTest, ADamagedFileIndexIsMadeAnewAndOtherDamageTold) {
    disk.entries = {folder.path() + "/found.txt"};
    const auto startAgain = [&](const char* damage) {
        loop.run([&] { return services->database->execute(damage); });
        loop.run([&] { return services->stop(); });
        services = makeServices();
        loop.run([&] { return services->start(); });
        std::string told;
        const auto listening = services->health->onFinding([&](const std::string& sentence) { told += sentence; });
        services->startWatching();
        loop.settle();
        clock.advance(3s);
        loop.until([&] { return !services->fileIndex->isScanning(); });
        loop.settle();
        return told;
    };
    EXPECT_EQ(startAgain("SELECT 1 WHERE 0"), "");
    EXPECT_EQ(startAgain("ALTER TABLE file_index ADD COLUMN more"),
              "The file index was damaged. It is being made anew.");
    EXPECT_EQ(services->fileIndex->fileCount(), 1);
    EXPECT_EQ(startAgain("DROP TABLE app_launches"), "Lost from the local database: app launches.");
    EXPECT_EQ(startAgain("ALTER TABLE command_usage ADD COLUMN more"), "Damaged in the local database: command usage.");
    loop.run([&] { return services->stop(); });
}

}  // namespace
}  // namespace velmora
