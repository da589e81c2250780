#include "app/services/applications/ApplicationIndexer.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "platform/linux/applications/LinuxApplicationBundles.h"
#include "tests/fakes/FakeBundles.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <latch>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class InstalledApplicationsTest : public testing::Test {
  protected:
    InstalledApplicationsTest() {
        DesktopEnvironment environment;
        environment.home = folder.path();
        environment.dataHome = folder.path() + "/share";
        // One within the other.
        environment.dataFolders = {folder.path() + "/system", folder.path() + "/system/applications/nested"};
        environment.searchFolders = {folder.path() + "/bin"};
        bundles = std::make_shared<LinuxApplicationBundles>(std::move(environment));
        indexer = std::make_shared<ApplicationIndexer>(pool.executor(), bundles);
    }

    std::string entry(const std::string& relative, const std::string& lines) const {
        return folder.write(relative, "[Desktop Entry]\nType=Application\nExec=true\n" + lines);
    }

    std::vector<ApplicationRecord> scan() {
        return loop.run([&] { return indexer->scan(); });
    }

    Texts names() {
        Texts all;
        for (const auto& record : scan())
            all.push_back(record.name);
        return all;
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{1};
    std::shared_ptr<LinuxApplicationBundles> bundles;
    std::shared_ptr<ApplicationIndexer> indexer;
};

TEST_F(InstalledApplicationsTest, HidesFilesThatAreNoApplicationsEntries) {
    const std::string files[] = {
        "",
        "[Desktop Entry]\nType=Link\nName=x\nURL=http://x\n",
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
    entry("system/applications/.secret.desktop", "Name=Secret\n");
    folder.write("Applications/Flat.app/Info.plist",
                 "<plist><dict><key>CFBundleName</key><string>Old Bundle</string></dict></plist>");
    folder.write("Applications/Broken.app/Contents/Info.plist", "bplist00");
    EXPECT_EQ(names(), (Texts{"Broken", "Old Bundle", "One"}));
    entry("share/applications/org.one.desktop", "Name=Mine\n");
    EXPECT_EQ(names(), (Texts{"Broken", "Mine", "Old Bundle"}));
    entry("share/applications/org.one.desktop", "Name=Next\n");  // of the same length
    EXPECT_EQ(names(), (Texts{"Broken", "Next", "Old Bundle"}));
    entry("share/applications/org.one.desktop", "Name=Next\nHidden=true\n");
    EXPECT_EQ(names(), (Texts{"Broken", "Old Bundle"})) << "deleted by the user, not uncovered";
    fs::remove(folder.path() + "/share/applications/org.one.desktop");
    EXPECT_EQ(names(), (Texts{"Broken", "Old Bundle", "One"}));
}

TEST_F(InstalledApplicationsTest, FollowsLinksWithoutGoingInCircles) {
    const std::string real = folder.path() + "/system/applications";
    entry("system/applications/z/in z.desktop", "Name=In z\n");
    entry("elsewhere/two.desktop", "Name=Two\n");
    fs::create_directory_symlink(real, real + "/z/up");
    fs::create_directory_symlink(real + "/self", real + "/self");
    fs::create_directory_symlink(folder.path() + "/elsewhere", real + "/link");
    fs::create_symlink(folder.path() + "/elsewhere/two.desktop", real + "/two.desktop");
    fs::create_symlink(folder.path() + "/nowhere", real + "/dangling.desktop");
    entry("system/applications/nested/applications/once.desktop", "Name=A file in two roots\n");
    ASSERT_EQ(names(), (Texts{"A file in two roots", "In z", "Two", "Two"}))
        << "two.desktop and link-two.desktop are two";
    EXPECT_EQ(scan()[1].path, real + "/z/in z.desktop") << "found under its own name, not a link's";
}

TEST_F(InstalledApplicationsTest, MakesNamesFitForOneLine) {
    const auto name = [&](const std::string& text) {
        entry("system/applications/3 \xff.desktop", "Name=" + text + "\n");
        return names().at(0);
    };
    EXPECT_EQ(name("\\sTab\\tand\x1b[31m\x7f"), "Tab and [31m");
    EXPECT_EQ(name("\\s\\t"), "3 \uFFFD");
    EXPECT_EQ(name(std::string(100'000, 'n')), std::string(256, 'n'));
    std::string marks = "n";
    while (marks.size() < 900'000)
        marks += "\u0301";
    EXPECT_LE(name(marks).size(), 4096U) << "one character, as it were";
}

TEST_F(InstalledApplicationsTest, LaunchesOnlyWhatIsInstalled) {
    const std::string listed = entry("system/applications/tool.desktop", "Name=Tool\n");
    const std::string outside = entry("Downloads/evil.desktop", "Name=Evil\n");
    fs::create_symlink(outside, folder.path() + "/system/applications/exported.desktop");
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    const auto service = std::make_shared<ApplicationService>(loop.executor(), pool.executor(), clock, workspace,
                                                              indexer, bundles, folder.path());
    loop.run([&]() -> Task<> { co_await service->refresh(); });
    const std::string later = entry("share/applications/later.desktop", "Name=Later\nNoDisplay=true\n");
    fs::create_symlink(outside, folder.path() + "/share/applications/link.desktop");
    fs::create_directory_symlink(folder.path() + "/Downloads", folder.path() + "/share/applications/folder");
    const Texts arguments{"a b", ""};
    const auto launched = [&](const std::string& path) -> std::string {
        workspace.launches.clear();
        try {
            loop.run([&]() -> Task<> { co_await service->open(path, arguments); });
        } catch (const AppError& error) {
            EXPECT_TRUE(workspace.launches.empty()) << error.what();
            return "";
        }
        EXPECT_EQ(workspace.launches.at(0).arguments, arguments);
        return workspace.launches.at(0).path;
    };
    EXPECT_EQ(launched(listed), listed);
    EXPECT_EQ(launched("~/share/applications/./x/..//later.desktop"), later) << "below a root, though never listed";
    EXPECT_EQ(launched(folder.path() + "/system/applications/exported.desktop"),
              folder.path() + "/system/applications/exported.desktop")
        << "somebody installed the link, as Flatpak does";
    fs::remove(listed);
    for (const std::string& refused :
         {outside, listed, folder.path() + "/share/applications/link.desktop",
          folder.path() + "/share/applications/folder/evil.desktop",
          folder.path() + "/share/applications/../../Downloads/evil.desktop", folder.write("notes.txt", "x"),
          std::string("~/Applications/Missing.app"), std::string(), std::string("/\0.app", 6)})
        EXPECT_EQ(launched(refused), "") << refused.substr(0, 80);
}

TEST_F(InstalledApplicationsTest, StopsAScanThatIsCancelled) {
    for (int i = 0; i < 50; ++i)
        fs::create_directories(folder.path() + "/a/d" + std::to_string(i) + "/A.app");
    std::atomic<int> reads = 0;
    std::latch begun(1);
    std::latch release(1);
    const auto slow = std::make_shared<test::FakeBundles>();
    slow->folders = {folder.path() + "/a"};
    slow->beforeReading = [&](const std::string&) {
        if (++reads > 1) return;
        begun.count_down();
        release.wait();
    };
    ApplicationIndexer slowIndexer(pool.executor(), slow);
    const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> { co_await slowIndexer.scan(); });
    loop.settle();
    begun.wait();
    task.cancel();
    loop.settle();
    release.count_down();
    loop.until([&] { return task.done(); });
    EXPECT_EQ(reads, 1);
}

}  // namespace
}  // namespace velmora
