#include "tests/platform/linux/applications/LaunchFixture.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

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

const Texts nastyArguments{"",
                           " ",
                           "a b",
                           "--flag=x y",
                           "--",
                           "it's \"both\"",
                           "$HOME $(reboot) `reboot`",
                           "a\\ b\\n",
                           "%f %U %% %i",
                           "two\nlines\ttab\r",
                           "; & | < > * ? [x] {a,b} ~ ! #",
                           "caf\u00e9 \U0001F5FA",
                           "not \xff\xfe UTF-8",
                           std::string(100'000, 'x')};

TEST_F(LinuxWorkspaceTest, PassesArgumentsOnAsTheyAre) {
    for (const char* const exec : {"probe", "probe %U", "probe \"%f\"", "\"probe\" %F"})
        EXPECT_EQ(launched(entry(std::string("Exec=") + exec + "\n"), nastyArguments).arguments, nastyArguments)
            << exec;
}

TEST_F(LinuxWorkspaceTest, StartsInTheFolderTheEntryNames) {
    fs::create_directories(folder.path() + "/work folder");
    EXPECT_EQ(launched(entry("Exec=probe\n")).directory, folder.path());
    EXPECT_EQ(launched(entry("Exec=probe\nPath=" + folder.path() + "/work folder\n")).directory,
              folder.path() + "/work folder");
}

TEST_F(LinuxWorkspaceTest, StartsProgramsThatLiveOnByThemselves) {
    sigset_t term;
    sigset_t before;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &before);  // inherited by the threads that the system would start programs from
    const WorkerPool blockedPool(1);
    workspace.emplace(blockedPool.executor(), environment);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    setenv("DESKTOP_STARTUP_ID", "ours", 1);
    const int inheritable = open("/dev/null", O_RDONLY);
    const test::Report report = launched(entry("Exec=probe\n"));
    close(inheritable);
    unsetenv("DESKTOP_STARTUP_ID");
    EXPECT_EQ(report.descriptors, "0 1 2 ");
    EXPECT_EQ(report.session, "own session");
    EXPECT_NE(report.parent, std::to_string(getpid()));
    EXPECT_EQ(report.signals, "open");
    EXPECT_EQ(report.token, "");
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
    const std::string notExecutable = folder.write("bin/data", "x");
    const std::string entries[] = {entry("Exec=no-such-program-anywhere\n", "1"),
                                   entry("Exec=/no/such/program\n", "2"),
                                   entry("Exec=" + notExecutable + "\n", "3"),
                                   entry("Exec=" + folder.path() + "\n", "4"),
                                   entry("Exec=../bin/probe\n", "5"),
                                   entry("Exec=probe\nPath=/no/such/folder\n", "6"),
                                   entry("Exec=probe\nHidden=true\n", "7"),
                                   entry("", "8"),
                                   folder.path() + "/missing.desktop",
                                   folder.write("9.desktop", "[Desktop Entry]\nType=Link\nExec=probe\n"),
                                   folder.path() + "/None.app"};
    for (const std::string& path : entries)
        EXPECT_THROW(launch(path, {"x"}), std::exception) << path;
    for (const std::string& argument : {std::string("null\0byte", 9), std::string(4'000'000, 'x')})
        EXPECT_THROW(launch(entry("Exec=probe\n", "10"), {argument}), std::exception) << argument.substr(0, 20);
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
    environment.dataHome = data;
    environment.dataFolders = {folder.path() + "/system", folder.path() + "/more"};
    workspace.emplace(pool.executor(), environment);
    const std::string file = folder.write("odd #1 50% $(x).txt", "text");
    const auto open = [&](const std::string& path) { loop.run([&]() -> Task<> { co_await workspace->open(path); }); };
    EXPECT_THROW(open(folder.path()), std::runtime_error) << "no application is there yet";
    fs::create_directories(data + "/applications");
    fs::copy_file(entry("Exec=" + probe + " --show %U\nMimeType=inode/directory;\n"),
                  data + "/applications/files.desktop");
    fs::copy_file(entry("Exec=" + probe + " %f\nMimeType=text/plain;\n"), data + "/applications/text.desktop");
    fs::copy_file(entry("Exec=" + probe + " --url %u\nMimeType=x-scheme-handler/https;\n"),
                  data + "/applications/web.desktop");
    const std::string defaults =
        "[Default Applications]\ninode/directory=files.desktop;\ntext/plain=text.desktop;\n"
        "x-scheme-handler/https=web.desktop;\n";
    std::ofstream(data + "/mimeapps.list") << defaults;
    std::ofstream(data + "/applications/mimeapps.list") << defaults;
    // GLib learns of new entries from the kernel, in its own time.
    bool isOpen = false;
    loop.until([&] {
        try {
            open(folder.path());
            isOpen = true;
        } catch (const std::runtime_error&) {
        }
        return isOpen;
    });
    EXPECT_EQ(report(probe).arguments, (Texts{"--show", "file://" + folder.path()}));
    fs::remove(probe + ".report");
    open(file);
    EXPECT_EQ(report(probe).arguments, Texts{file});
    EXPECT_THROW(open(folder.path() + "/missing"), std::runtime_error);

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
    EXPECT_EQ(shown(folder.path()), "file://" + folder.path());
    for (const char* const name : {"system/a.desktop", "system/b.txt", "system/c.txt", "system/d.txt", "system/e.txt",
                                   "more/a.desktop", "more/b.desktop", "more/c.desktop", "more/d.app"})
        folder.write(std::string(name).insert(std::string(name).find('/'), "/applications"), "");
    EXPECT_EQ(shown("/Applications"), "file://" + folder.path() + "/more/applications");

    const auto openURL = [&](const std::string& url) {
        fs::remove(probe + ".report");
        loop.run([&]() -> Task<> { co_await workspace->openURL(url); });
        return report(probe).arguments;
    };
    const std::string web = "https://example.com/a%20b?x='$(y)&z;";
    EXPECT_EQ(openURL(web), (Texts{"--url", web}));
    EXPECT_EQ(openURL("file://" + folder.path() + "/odd%20%231%2050%25%20$(x).txt"), Texts{file});
    EXPECT_EQ(openURL("file://" + folder.path()), (Texts{"--show", "file://" + folder.path()}));
    for (const std::string& refused : {std::string("gopher://example.com/"), "file://elsewhere" + file,
                                       std::string("file:///a%00b"), std::string("no address"), file})
        EXPECT_THROW(openURL(refused), std::runtime_error) << refused;
}

}  // namespace
}  // namespace velmora
