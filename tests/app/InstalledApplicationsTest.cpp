#include "app/services/applications/ApplicationIndexer.h"
#include "platform/Runtime.h"
#include "platform/linux/applications/LinuxApplicationBundles.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class InstalledApplicationsTest : public testing::Test {
  protected:
    std::string entry(const std::string& relative, const std::string& lines) {
        return folder.write(relative, "[Desktop Entry]\nType=Application\nExec=true\n" + lines);
    }

    std::vector<ApplicationRecord> scan() {
        DesktopEnvironment environment;
        environment.home = folder.path();
        environment.dataHome = folder.path() + "/share";
        environment.dataFolders = {folder.path() + "/system"};
        environment.searchFolders = {folder.path() + "/bin"};
        if (!indexer) {
            indexer = std::make_shared<ApplicationIndexer>(
                pool.executor(), std::make_shared<LinuxApplicationBundles>(std::move(environment)));
        }
        return loop.run([&]() -> Task<std::vector<ApplicationRecord>> { co_return co_await indexer->scan(); });
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{1};
    std::shared_ptr<ApplicationIndexer> indexer;
};

TEST_F(InstalledApplicationsTest, HidesFilesThatAreNoApplicationsEntries) {
    const std::string files[] = {
        "",
        "[Desktop Entry]\n",
        "[Desktop Entry]\nType=Link\nName=x\nURL=http://x\n",
        "[Other]\nType=Application\n",
        "garbage",
        std::string(10'000, '\0'),
        "[Desktop Entry]\nType=Application\nName=" + std::string(1'000'000, 'x'),
    };
    folder.write("system/applications/a.desktop", "[Desktop Entry]\nType=Application\nName=Below\nExec=true\n");
    for (const std::string& contents : files) {
        folder.write("share/applications/a.desktop", contents);
        const auto records = scan();
        ASSERT_EQ(records.size(), 1) << contents.substr(0, 50);
        EXPECT_EQ(records[0].name, "Below") << "a broken entry does not stand in for a whole one";
    }
    fs::remove(folder.path() + "/share/applications/a.desktop");
    ASSERT_EQ(mkfifo((folder.path() + "/share/applications/a.desktop").c_str(), 0600), 0);
    EXPECT_EQ(scan().size(), 1) << "nobody ever writes to the pipe";
}

TEST_F(InstalledApplicationsTest, ScansWhatTheUserChanges) {
    entry("system/applications/org.one.desktop", "Name=One\n");
    entry("system/applications/org.two.desktop", "Name=Two\nTryExec=tool\n");
    folder.write("Applications/Old.app/Contents/Info.plist",
                 "<plist><dict><key>CFBundleName</key><string>Old Bundle</string>"
                 "<key>CFBundleIdentifier</key><string>org.old</string></dict></plist>");
    folder.write("Applications/Flat.app/Info.plist",
                 "<plist><dict><key>CFBundleDisplayName</key><string>Flat "
                 "Bundle</string><key>CFBundleName</key><string>F</string>"
                 "</dict></plist>");
    folder.write("Applications/Broken.app/Contents/Info.plist", "bplist00");
    const auto names = [&] {
        Texts all;
        for (const auto& record : scan())
            all.push_back(record.name);
        return all;
    };
    EXPECT_EQ(names(), (Texts{"Broken", "Flat Bundle", "Old Bundle", "One"}));
    entry("share/applications/org.one.desktop", "Name=Mine\n");
    folder.write("bin/tool", "");
    fs::permissions(folder.path() + "/bin/tool", fs::perms::owner_all);
    EXPECT_EQ(names(), (Texts{"Broken", "Flat Bundle", "Mine", "Old Bundle", "Two"}));
    entry("share/applications/org.one.desktop", "Name=Next\n");  // of the same length
    EXPECT_EQ(names(), (Texts{"Broken", "Flat Bundle", "Next", "Old Bundle", "Two"}));
    entry("share/applications/org.one.desktop", "Name=Next\nHidden=true\n");
    EXPECT_EQ(names(), (Texts{"Broken", "Flat Bundle", "Old Bundle", "Two"})) << "deleted by the user, not uncovered";
    fs::remove(folder.path() + "/share/applications/org.one.desktop");
    EXPECT_EQ(names(), (Texts{"Broken", "Flat Bundle", "Old Bundle", "One", "Two"}));
    EXPECT_EQ(scan()[1].bundleIdentifier, folder.path() + "/Applications/Flat.app");
    EXPECT_EQ(scan()[3].bundleIdentifier, "org.one");
}

}  // namespace
}  // namespace velmora
