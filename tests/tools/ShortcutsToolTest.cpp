#include "app/services/quick/ShortcutsCLI.h"
#include "core/AppError.h"
#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cstdlib>

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// The bundled tool over a folder of scripts, driven the way the program drives it.
class ShortcutsToolTest : public testing::Test {
  protected:
    ShortcutsToolTest() { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
    ~ShortcutsToolTest() override { unsetenv("XDG_CONFIG_HOME"); }

    void script(const std::string& file, const std::string& body, fs::perms mode = fs::perms(0755)) const {
        fs::permissions(folder.write("velmora/shortcuts/" + file, body), mode);
    }
    /// The names, or the sentence of the failure.
    Texts list() {
        return attempt([](ShortcutsCLI& cli) -> Task<Texts> { co_return co_await cli.listNames(); });
    }
    Texts run(const std::string& name) {
        return attempt([&](ShortcutsCLI& cli) -> Task<Texts> {
            co_await cli.run(name);
            co_return Texts{};
        });
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    const std::string scripts = folder.path() + "/velmora/shortcuts";
    WorkerPool pool{2};
    SystemClock clock;

  private:
    template <class Work>
    Texts attempt(Work work) {
        LinuxChildProcesses processes(pool.executor(), folder.path());
        ShortcutsCLI cli(clock, processes, {folder.path() + "/missing", VELMORA_SHORTCUTS_TOOL});
        try {
            return loop.run([&]() -> Task<Texts> { co_return co_await work(cli); });
        } catch (const AppError& error) {
            return {error.what()};
        }
    }
};

TEST_F(ShortcutsToolTest, ListsWhatMayBeRun) {
    EXPECT_EQ(list(), Texts{}) << "no folder";
    script("Resize Images.sh", "");
    script("no extension", "");
    script("caf\xE9.sh", "");
    script(" spaced .sh", "");
    script("not executable.sh", "", fs::perms(0644));
    script("anyone's.sh", "", fs::perms(0757));
    script("the group's.sh", "", fs::perms(0775));
    fs::permissions(folder.write("open to all/tool", ""), fs::perms(0755));
    fs::permissions(folder.path() + "/open to all", fs::perms(0777));
    fs::create_symlink(folder.path() + "/open to all/tool", scripts + "/Replaceable");
    script(".hidden.sh", "");
    script("two\nlines.sh", "");
    fs::create_directories(scripts + "/folder.sh");
    mkfifo((scripts + "/pipe.sh").c_str(), 0755);
    fs::create_symlink("/bin/true", scripts + "/Linked");
    EXPECT_EQ(list(), (Texts{"spaced", "Linked", "Resize Images", "no extension"}));
    fs::permissions(scripts, fs::perms(0777));
    EXPECT_EQ(list(), Texts{"The folder of shortcuts must belong to you and be writable by nobody else."});
}

TEST_F(ShortcutsToolTest, RunsByNameAndNothingElse) {
    const std::string mark = folder.path() + "/ran";
    script("Make Mark.sh", "#!/bin/sh\nprintf x >\"" + mark + "\"\n");
    script("Silent.sh", "#!/bin/sh\nexit 3\n");
    script("Broken.sh", "no interpreter line\n");
    EXPECT_EQ(run("Make Mark"), Texts{});
    EXPECT_TRUE(fs::exists(mark));
    EXPECT_EQ(run("Silent"), Texts{"The shortcut did not complete."});
    EXPECT_EQ(run("Broken"), Texts{"The shortcut “Broken” could not be started: Exec format error."});
    fs::remove(mark);
    const Texts others{
        "Make Mark.sh",   "./Make Mark", "../shortcuts/Make Mark", scripts + "/Make Mark.sh", "make mark", "",
        "; touch " + mark};
    for (const std::string& name : others) {
        EXPECT_EQ(run(name), Texts{"There is no shortcut named “" + name + "”."});
    }
    EXPECT_FALSE(fs::exists(mark));
}

}  // namespace
}  // namespace velmora
