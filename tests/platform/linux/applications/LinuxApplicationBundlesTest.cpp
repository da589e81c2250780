#include "platform/linux/applications/LinuxApplicationBundles.h"

#include "platform/linux/applications/LinuxFileIcons.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

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

    test::TemporaryFolder folder;
    DesktopEnvironment environment;
};

TEST_F(LinuxApplicationBundlesTest, ReadsDesktopEntries) {
    const LinuxApplicationBundles bundles(environment);
    struct Case {
        std::string lines;
        std::string name;
        bool hidden;
    };
    const Case cases[] = {
        {"Name[de_AT@euro]=No\nName[de_AT]=Landkarten\nName[de]=Karten\nName=Maps\n", "Landkarten", false},
        {"Name=a\\sb\\tc\n", "a b\tc", false},
        {"Name=bad \xff byte\nComment=\xc3\x28\n", "bad \uFFFD byte", false},
        {"Name=x\nNoDisplay=true\n", "x", true},
        {"Name=x\nOnlyShowIn=GNOME;KDE;\n", "x", false},
        {"Name=x\nOnlyShowIn=KDE;\n", "x", true},
        {"Name=x\nNotShowIn=GNOME;\n", "x", true},
        {"Name=x\nOnlyShowIn=ubuntu\nNotShowIn=GNOME\n", "x", false},
    };
    for (const Case& one : cases) {
        const auto read = bundles.read(entry("share/applications/kde/my.app.desktop", one.lines),
                                       folder.path() + "/share/applications");
        ASSERT_TRUE(read) << one.lines;
        EXPECT_EQ(read->displayName, one.name) << one.lines;
        EXPECT_EQ(read->hidden, one.hidden) << one.lines;
        EXPECT_EQ(read->identifier, "kde-my.app");
    }
}

TEST_F(LinuxApplicationBundlesTest, KnowsTheApplicationsOfWindows) {
    const LinuxApplicationBundles bundles(environment);
    const auto read = [&](const std::string& id, const std::string& lines) {
        static_cast<void>(bundles.read(entry("share/applications/" + id + ".desktop", "Name=x\n" + lines),
                                       folder.path() + "/share/applications"));
    };
    read("code-links", "NoDisplay=true\nStartupWMClass=Code\n");
    read("code", "StartupWMClass=Code\n");
    read("browser", "StartupWMClass=Browser-main\n");
    read("org.example.Viewer", "");
    const std::pair<Texts, std::optional<std::string>> cases[] = {
        {{"code"}, "code"},  // the one that is listed
        {{"viewer"}, "org.example.Viewer"},
        {{"Viewer", "Browser-main"}, "browser"},  // what an entry says itself counts first
        {{"Unknown", ""}, std::nullopt},
    };
    for (const auto& [classes, id] : cases)
        EXPECT_EQ(bundles.findByWindow(classes), id) << (classes.empty() ? "" : classes[0]);
}

TEST_F(LinuxApplicationBundlesTest, FindsIcons) {
    const LinuxFileIcons icons;
    const auto ofEntry = [&](const std::string& icon) { return icons.find(entry("a.desktop", "Icon=" + icon + "\n")); };
    const auto ofBundle = [&](const std::string& name) {
        folder.write("Tool.app/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key><string>" + name + "</string></dict></plist>");
        return icons.find(folder.path() + "/Tool.app").image;
    };
    folder.write("Tool.app/Contents/Resources/tool.png", "picture");
    folder.write("Tool.app/Contents/secret", "x");
    EXPECT_EQ(ofBundle("tool"), "picture");
    for (const char* const name : {"other", "../secret", "..", ""})
        EXPECT_EQ(ofBundle(name), "") << name;
    const Texts names{"org.example.icon.png", "org.example.icon", "application-x-executable"};
    EXPECT_EQ(ofEntry("org.example.icon.png").themeNames, names);
    EXPECT_EQ(ofEntry(folder.write("icon.png", "picture")).image, "picture");
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    fs::resize_file(folder.write("big", ""), 9U << 20U);
    for (const std::string& bad : {pipe, folder.path() + "/big", std::string("/dev/zero"), folder.path()})
        EXPECT_EQ(ofEntry(bad).image, "") << bad;
}

}  // namespace
}  // namespace velmora
