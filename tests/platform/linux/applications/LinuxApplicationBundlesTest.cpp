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
    const LinuxFileIcons icons(environment);
    const auto find = [&](const std::string& path, int pixels = 32) { return icons.find(path, {"Mine"}, pixels); };
    const auto ofEntry = [&](const std::string& icon, int pixels = 32) {
        return find(entry("a.desktop", "Icon=" + icon + "\n"), pixels);
    };
    const auto ofBundle = [&](const std::string& name) {
        folder.write("Tool.app/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key><string>" + name + "</string></dict></plist>");
        return find(folder.path() + "/Tool.app");
    };
    folder.write("Tool.app/Contents/Resources/tool.png", "picture");
    folder.write("Tool.app/Contents/secret", "x");
    EXPECT_EQ(ofBundle("tool"), "picture");
    for (const char* const name : {"other", "../secret", "..", ""})
        EXPECT_EQ(ofBundle(name), "") << name;
    EXPECT_EQ(ofEntry(folder.write("icon.png", "picture")), "picture");

    folder.write(".icons/Mine/index.theme",
                 "[Icon Theme]\nInherits=../up,Base,Mine\nDirectories=../up,48,all,16\n[48]\nSize=48\nType=Fixed\n"
                 "[all]\nSize=64\nMinSize=8\nMaxSize=512\nType=Scalable\n[16]\nSize=16\n[../up]\nSize=32\n");
    folder.write("system/icons/Base/index.theme", "[Icon Theme]\nDirectories=32\n[32]\nSize=32\n");
    folder.write("system/icons/hicolor/index.theme", "[Icon Theme]\nDirectories=32\n[32]\nSize=32\n");
    folder.write("system/icons/Base/32/piped.svg", "the next place of the theme");
    fs::create_directories(folder.path() + "/.icons/Base/32");
    ASSERT_EQ(mkfifo((folder.path() + "/.icons/Base/32/piped.png").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((folder.path() + "/.icons/Base/index.theme").c_str(), 0600), 0);
    for (const char* const file : {".icons/up/escaped.png", ".icons/secret.png", "secret.png"})
        folder.write(file, "outside");
    folder.write(".icons/Mine/48/org.one.png", "large");
    folder.write("system/icons/Mine/16/org.one.png", "small");
    folder.write("system/icons/Mine/all/drawn.svg", "drawn");
    folder.write(".icons/Mine/48/drawn.png", "larger");
    folder.write("system/icons/Base/32/inherited.png", "inherited");
    folder.write("system/icons/hicolor/32/last.xpm", "last");
    folder.write("system/pixmaps/alone.png", "alone");
    fs::resize_file(folder.write(".icons/Mine/48/big.png", ""), 9U << 20U);
    const std::tuple<const char*, int, const char*> cases[] = {
        {"org.one", 32, "large"},
        {"org.one.png", 16, "small"},
        {"drawn", 32, "drawn"},
        {"inherited", 32, "inherited"},
        {"piped", 32, "the next place of the theme"},
        {"last", 32, "last"},
        {"alone", 32, "alone"},
        {"big", 32, ""},
        {"escaped", 32, ""},
        {"../secret", 32, ""},
        {"../../secret", 32, ""},
        {"..", 32, ""},
        {"missing", 32, ""},
    };
    for (const auto& [name, pixels, contents] : cases)
        EXPECT_EQ(ofEntry(name, pixels), contents) << name << " " << pixels;
    for (const std::string& bad : {folder.path() + "/.icons/Base/32/piped.png",
                                   folder.path() + "/.icons/Mine/48/big.png", std::string("/dev/zero"), folder.path()})
        EXPECT_EQ(ofEntry(bad), "") << bad;
}

}  // namespace
}  // namespace velmora
