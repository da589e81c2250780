#include "platform/linux/LinuxApplicationBundles.h"

#include "app/services/ApplicationIndexer.h"
#include "platform/Runtime.h"
#include "platform/linux/DesktopIcon.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class LinuxApplicationBundlesTest : public testing::Test {
  protected:
    LinuxApplicationBundlesTest() {
        environment.home = folder.path();
        environment.dataHome = folder.path() + "/share";
        environment.dataFolders = {folder.path() + "/system"};
        environment.languages = {"de_AT", "de", "C"};
        environment.currentDesktops = {"ubuntu", "GNOME"};
        environment.searchFolders = {folder.path() + "/bin"};
    }

    std::string entry(const std::string& relative, const std::string& lines) {
        return folder.write(relative, "[Desktop Entry]\nType=Application\nExec=true\n" + lines);
    }

    std::vector<ApplicationRecord> scan() {
        return loop.run([&]() -> Task<std::vector<ApplicationRecord>> { co_return co_await indexer->scan(); });
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{1};
    DesktopEnvironment environment;
    std::shared_ptr<LinuxApplicationBundles> bundles;
    std::shared_ptr<ApplicationIndexer> indexer;

    void make() {
        bundles = std::make_shared<LinuxApplicationBundles>(environment);
        indexer = std::make_shared<ApplicationIndexer>(pool.executor(), bundles);
    }
};

TEST_F(LinuxApplicationBundlesTest, OrdersTheRootsByTheirWeight) {
    const auto roots = [](Texts dataFolders) {
        DesktopEnvironment made;
        made.home = "/h";
        made.dataHome = "/h/data";
        made.dataFolders = std::move(dataFolders);
        auto all = LinuxApplicationBundles(std::move(made)).roots();
        EXPECT_EQ(Texts(all.begin(), all.begin() + 2), (Texts{"/Applications", "/h/Applications"}));
        return Texts(all.begin() + 5, all.end());
    };
    EXPECT_EQ(roots({"/usr/local/share/", "/usr/share", "/usr/share"}),
              (Texts{"/var/lib/snapd/desktop/applications", "/usr/share/applications", "/usr/local/share/applications",
                     "/var/lib/flatpak/exports/share/applications",
                     "/h/.local/share/flatpak/exports/share/applications", "/h/data/applications"}));
    EXPECT_EQ(roots({"/var/lib/snapd/desktop", "/usr/share", "/var/lib/flatpak/exports/share/"}),
              (Texts{"/var/lib/flatpak/exports/share/applications", "/usr/share/applications",
                     "/var/lib/snapd/desktop/applications", "/h/.local/share/flatpak/exports/share/applications",
                     "/h/data/applications"}))
        << "what the session names keeps the place it has there";
}

TEST_F(LinuxApplicationBundlesTest, ReadsDesktopEntries) {
    make();
    folder.write("bin/there", "");
    fs::permissions(folder.path() + "/bin/there", fs::perms::owner_all);
    struct Case {
        std::string lines;
        std::string name;
        bool hidden;
    };
    const Case cases[] = {
        {"Name=Plain\n", "Plain", false},
        {"Name=Maps\nName[de]=Karten\nName[fr]=Cartes\n", "Karten", false},
        {"Name[de_AT@euro]=No\nName[de_AT]=Landkarten\nName[de]=Karten\nName=Maps\n", "Landkarten", false},
        {"Name=a\\sb\\tc\n", "a b\tc", false},
        {"Name=bad \xff byte\nComment=\xc3\x28\n", "bad \uFFFD byte", false},
        {"Name=x\nNoDisplay=true\n", "x", true},
        {"Name=x\nHidden=true\n", "x", true},
        {"Name=x\nHidden=maybe\n", "x", false},
        {"Name=x\nOnlyShowIn=GNOME;KDE;\n", "x", false},
        {"Name=x\nOnlyShowIn=KDE;\n", "x", true},
        {"Name=x\nNotShowIn=GNOME;\n", "x", true},
        {"Name=x\nOnlyShowIn=ubuntu\nNotShowIn=GNOME\n", "x", false},
        {"Name=x\nTryExec=there\n", "x", false},
        {"Name=x\nTryExec=gone\n", "x", true},
        {"Name=x\nTryExec=/gone/too\n", "x", true},
    };
    for (const Case& one : cases) {
        const auto read = bundles->read(entry("share/applications/kde/my.app.desktop", one.lines),
                                        folder.path() + "/share/applications");
        ASSERT_TRUE(read) << one.lines;
        EXPECT_EQ(read->displayName, one.name) << one.lines;
        EXPECT_EQ(read->hidden, one.hidden) << one.lines;
        EXPECT_EQ(read->identifier, "kde-my.app");
    }
}

TEST_F(LinuxApplicationBundlesTest, HidesFilesThatAreNoApplicationsEntries) {
    make();
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

TEST_F(LinuxApplicationBundlesTest, ScansWhatTheUserChanges) {
    make();
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

TEST_F(LinuxApplicationBundlesTest, NamesIcons) {
    const std::string bundle = folder.path() + "/Tool.app";
    const auto icon = [&](const std::string& name) {
        folder.write("Tool.app/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key><string>" + name + "</string></dict></plist>");
        return desktopEntryIcon(bundle);
    };
    folder.write("Tool.app/Contents/Resources/tool.png", "png");
    folder.write("Tool.app/Contents/secret", "x");
    EXPECT_EQ(icon("tool"), bundle + "/Contents/Resources/tool.png");
    EXPECT_EQ(icon("tool.png"), bundle + "/Contents/Resources/tool.png");
    EXPECT_EQ(icon("other"), std::nullopt);
    EXPECT_EQ(icon("../secret"), std::nullopt);
    EXPECT_EQ(icon(".."), std::nullopt);
    EXPECT_EQ(icon(""), std::nullopt);
    EXPECT_EQ(desktopEntryIcon(entry("a.desktop", "Name=x\nIcon=org.example.icon\n")), "org.example.icon");
    EXPECT_EQ(desktopEntryIcon(entry("a.desktop", "Name=x\n")), std::nullopt);
    EXPECT_EQ(desktopEntryIcon(folder.path() + "/missing.desktop"), std::nullopt);
    EXPECT_EQ(desktopEntryIcon(folder.write("x.txt", "Icon=x")), std::nullopt);
}

}  // namespace
}  // namespace velmora
