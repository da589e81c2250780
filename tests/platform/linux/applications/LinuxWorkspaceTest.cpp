#include "tests/platform/linux/applications/LaunchFixture.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// GLib reads these once: they must be set before the first test, and name folders that are a test's own.
const bool isHermetic = [] {
    static const test::TemporaryFolder folder;
    for (const char* const variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
        setenv(variable, folder.path().c_str(), 1);
    setenv("XDG_DATA_DIRS", folder.path().c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    return true;
}();

class LinuxWorkspaceTest : public test::LaunchFixture {};

const Texts nastyArguments{
    "",         " ",           "--flag=x y",      "--",           "it's \"both\" $HOME $(reboot) `reboot` ; & | * ~ #",
    "a\\ b\\n", "%f %U %% %i", "two\nlines\ttab", "not \xff\xfe", std::string(100'000, 'x')};

TEST_F(LinuxWorkspaceTest, PassesArgumentsOnAsTheyAre) {
    for (const char* const exec : {"probe", "probe %U", "probe \"%f\"", "\"probe\" %F"})
        EXPECT_EQ(launched(entry(std::string("Exec=") + exec + "\n"), nastyArguments).arguments, nastyArguments)
            << exec;
}

TEST_F(LinuxWorkspaceTest, StartsProgramsThatLiveOnByThemselves) {
    const int inheritable = open("/dev/null", O_RDONLY);
    fs::create_directories(folder.path() + "/work folder");
    const test::Report report = launched(entry("Exec=probe\nPath=" + folder.path() + "/work folder\n"));
    close(inheritable);
    EXPECT_EQ(report.directory, folder.path() + "/work folder");
    EXPECT_EQ(report.descriptors, "0 1 2 ");
    EXPECT_EQ(report.session, "own session");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left to wait for";
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(LinuxWorkspaceTest, RunsInATerminalWhereThereIsOne) {
    const std::string path = entry("Exec=probe --in %F\nTerminal=true\n");
    EXPECT_THROW(launch(path), std::runtime_error);
    const std::string terminal =
        folder.write("bin/x-terminal-emulator", "#!/bin/sh\n[ \"$1\" = -e ] && shift && exec \"$@\"\n");
    fs::permissions(terminal, fs::perms::owner_all);
    Texts expected = nastyArguments;
    expected.insert(expected.begin(), "--in");
    EXPECT_EQ(launched(path, nastyArguments).arguments, expected);
    EXPECT_THROW(launch(entry("Exec=missing\nTerminal=true\n")), std::runtime_error);
}

TEST_F(LinuxWorkspaceTest, SaysWhenNothingWasStarted) {
    const std::string lines[] = {"Exec=no-such-program-anywhere\n",
                                 "Exec=/no/such/program\n",
                                 "Exec=" + folder.write("bin/data", "x") + "\n",
                                 "Exec=../bin/probe\n",
                                 "Exec=probe\nPath=/no/such/folder\n",
                                 "Exec=probe\nHidden=true\n",
                                 "",
                                 "Type=Link\nExec=probe\n"};
    for (const std::string& line : lines)
        EXPECT_THROW(launch(entry(line), {"x"}), std::exception) << line;
    for (const char* const absent : {"/missing.desktop", "/None.app"})
        EXPECT_THROW(launch(folder.path() + absent), std::exception) << absent;
    EXPECT_THROW(launch(entry("Exec=probe\n"), {std::string("null\0byte", 9)}), std::exception);
    EXPECT_FALSE(fs::exists(probe + ".report"));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(LinuxWorkspaceTest, RunsTheProgramOfABundle) {
    const std::string bundle = folder.path() + "/My 100% App.app";
    const auto name = [&](const std::string& executable) {
        folder.write("My 100% App.app/Contents/Info.plist",
                     "<plist><dict><key>CFBundleExecutable</key><string>" + executable + "</string></dict></plist>");
    };
    fs::create_directories(bundle + "/Contents/MacOS");
    const std::string program = bundle + "/Contents/MacOS/my probe";
    fs::copy_file(probe, program);
    name("my probe");
    launch(bundle, nastyArguments);
    const test::Report seen = report(program);
    EXPECT_EQ(seen.arguments, nastyArguments);
    EXPECT_EQ(seen.directory, folder.path());
    for (const char* const bad : {"", ".", "..", "../../../bin/probe", "/bin/true", "missing"}) {
        name(bad);
        EXPECT_THROW(launch(bundle), std::runtime_error) << bad;
    }
}

TEST_F(LinuxWorkspaceTest, OpensFilesFoldersAndAddressesWithTheirDefaultApplication) {
#ifdef __SANITIZE_THREAD__
    // Looking for default applications starts a thread of GLib's own, whose locks the sanitizer does not see.
    GTEST_SKIP();
#endif
    const std::string data = std::getenv("XDG_DATA_HOME");
    environment.dataFolders = {folder.path() + "/system", folder.path() + "/more"};
    workspace.emplace(pool.executor(), environment);
    const std::string file = folder.write("odd #1 50% $(x).txt", "text");
    const auto open = [&](const std::string& path) { loop.run([&]() -> Task<> { co_await workspace->open(path); }); };
    EXPECT_THROW(open(folder.path()), std::runtime_error) << "no application is there yet";
    fs::create_directories(data + "/applications");
    const auto install = [&](const std::string& id, const std::string& lines) {
        fs::copy_file(entry("Exec=" + probe + lines), data + "/applications/" + id + ".desktop");
    };
    install("files", " --show %U\nMimeType=inode/directory;\n");
    install("text", " %f\nMimeType=text/plain;\n");
    const std::string defaults = "[Default Applications]\ninode/directory=files.desktop;\ntext/plain=text.desktop;\n";
    std::ofstream(data + "/applications/mimeapps.list") << defaults;
    // GLib learns of new entries from the kernel, in its own time.
    loop.until([&] {
        try {
            open(folder.path());
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    });
    EXPECT_EQ(report(probe).arguments, (Texts{"--show", "file://" + folder.path()}));
    fs::remove(probe + ".report");
    open(file);
    EXPECT_EQ(report(probe).arguments, Texts{file});

    const auto shown = [&](const std::string& path) {
        fs::remove(probe + ".report");
        loop.run([&]() -> Task<> { co_await workspace->openFolder(path); });
        return report(probe).arguments.at(1);
    };
    const std::string downloads = folder.path() + "/Downloads";
    fs::create_directories(downloads);
    std::ofstream(std::getenv("XDG_CONFIG_HOME") + std::string("/user-dirs.dirs"))
        << "XDG_DOWNLOAD_DIR=\"" + folder.path() + "/Herunter geladen/\"\n";
    EXPECT_EQ(shown(downloads), "file://" + downloads) << "what is named does not exist";
    fs::create_directories(folder.path() + "/Herunter geladen");
    EXPECT_EQ(shown(downloads), "file://" + folder.path() + "/Herunter%20geladen");
    for (const char* const name :
         {"system/applications/a.desktop", "system/applications/b.txt", "system/applications/c.txt",
          "more/applications/a.desktop", "more/applications/b.app"})
        folder.write(name, "");
    EXPECT_EQ(shown("/Applications"), "file://" + folder.path() + "/more/applications") << "the fullest";

    const auto openURL = [&](const std::string& url) {
        loop.run([&]() -> Task<> { co_await workspace->openURL(url); });
    };
    fs::remove(probe + ".report");
    openURL("file://" + folder.path() + "/odd%20%231%2050%25%20$(x).txt");
    EXPECT_EQ(report(probe).arguments, Texts{file});
    for (const std::string& refused : {std::string("gopher://example.com/"), "file://elsewhere" + file,
                                       std::string("file:///a%00b"), std::string("no address"), file})
        EXPECT_THROW(openURL(refused), std::runtime_error) << refused;
}

}  // namespace
}  // namespace velmora
