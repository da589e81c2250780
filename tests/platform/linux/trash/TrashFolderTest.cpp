#include "platform/linux/trash/TrashFolder.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/linux/FileTree.h"
#include "tests/platform/linux/HungMount.h"

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <filesystem>
#include <fstream>

namespace velmora {
namespace {

namespace fs = std::filesystem;

class TrashFolderTest : public testing::Test {
  protected:
    TrashFolderTest() {
        fs::create_directories(home + "/files");
        fs::create_directories(home + "/info");
        folder.write("outside/precious", "keep me");
    }

    void throwAway(const std::string& name, const std::string& trash) const {
        folder.write(trash + "/files/" + name, "x");
        folder.write(trash + "/info/" + name + ".trashinfo", "[Trash Info]\nPath=/x\n");
    }
    /// Empties the trash at home and those of `volumes`.
    [[nodiscard]] bool empty(const std::vector<std::string>& volumes = {}) const {
        bool whole = !TrashFolder::isLeftOut(home);
        for (const TrashFolder& one : TrashFolder::find(home, volumes, geteuid()))
            whole = one.empty() && whole;
        return whole;
    }
    [[nodiscard]] bool nothingIsLeft() const { return fs::is_empty(home + "/files") && fs::is_empty(home + "/info"); }

    const test::TemporaryFolder folder;
    const std::string home = folder.path() + "/Trash";
    const std::string outside = folder.path() + "/outside";
};

TEST_F(TrashFolderTest, EmptiesFilesNotesAndSizesTogether) {
    EXPECT_TRUE(empty()) << "an empty one";
    throwAway("a file", "Trash");
    folder.write("Trash/files/tree/deep/er/leaf", "x");
    folder.write("Trash/info/already gone.trashinfo", "");
    folder.write("Trash/info/no note at all", "x");
    folder.write("Trash/directorysizes", "4096 0 tree\n");
    EXPECT_TRUE(empty());
    EXPECT_TRUE(nothingIsLeft());
    EXPECT_FALSE(fs::exists(home + "/directorysizes"));
    fs::remove_all(home);
    EXPECT_TRUE(empty()) << "none at all";
}

TEST_F(TrashFolderTest, LinksLeadNowhere) {
    fs::create_directory_symlink(outside, home + "/files/link");
    fs::create_symlink(outside + "/precious", home + "/files/file link");
    fs::create_directories(home + "/files/tree");
    fs::create_directory_symlink(outside, home + "/files/tree/link");
    fs::create_symlink(outside + "/precious", home + "/directorysizes");
    EXPECT_TRUE(empty());
    EXPECT_TRUE(nothingIsLeft());

    fs::remove(home + "/files");
    fs::create_directory_symlink(outside, home + "/files");
    EXPECT_FALSE(empty()) << "what is behind the link is not the Trash";
    fs::remove_all(home);
    folder.write("outside/files/precious", "keep me");
    fs::create_directory_symlink(outside, home);
    EXPECT_FALSE(empty());
    EXPECT_TRUE(fs::exists(outside + "/precious"));
    EXPECT_TRUE(fs::exists(outside + "/files/precious"));
}

TEST_F(TrashFolderTest, OpensUpWhatIsProtectedAndReachesTheDeepest) {
    folder.write("Trash/files/shut/inner/x", "x");
    fs::permissions(home + "/files/shut/inner", fs::perms::none);
    fs::permissions(home + "/files/shut", fs::perms(0500));
    const test::DeepChain deepest(home + "/files", "d", 1500);
    EXPECT_TRUE(empty());
    EXPECT_TRUE(nothingIsLeft());
}

TEST_F(TrashFolderTest, KeepsTheNoteOnWhatWouldNotGo) {
    throwAway("free", "Trash");
    fs::create_directories(home + "/files/stuck/mounted");
    folder.write("Trash/info/stuck.trashinfo", "");
    folder.write("Trash/files/stuck/loose", "x");
    // Only something mounted inside stops the owner of the machine.
    if (geteuid() != 0 ||
        mount(outside.c_str(), (home + "/files/stuck/mounted").c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "mounting is not allowed here";
    }
    const bool whole = empty();
    const bool isIntact = fs::exists(outside + "/precious");
    umount2((home + "/files/stuck/mounted").c_str(), MNT_DETACH);
    EXPECT_FALSE(whole);
    EXPECT_TRUE(isIntact) << "what is mounted inside was never thrown away";
    EXPECT_FALSE(fs::exists(home + "/files/free"));
    EXPECT_FALSE(fs::exists(home + "/info/free.trashinfo"));
    EXPECT_TRUE(fs::exists(home + "/info/stuck.trashinfo"));
    EXPECT_FALSE(fs::exists(home + "/files/stuck/loose"));
    EXPECT_TRUE(empty()) << "and later it goes";
    EXPECT_TRUE(nothingIsLeft());
}

TEST_F(TrashFolderTest, TouchesNothingThatIsMountedInIt) {
    if (!test::ownMountList()) GTEST_SKIP() << "only root may mount";
    for (const std::string place : {"/files", "/info", "", "/files/stuck", "/files/tree/stuck", "/info/stuck"}) {
        fs::create_directories(home + place);
        throwAway("a", "Trash");
        ASSERT_EQ(mount(outside.c_str(), (home + place).c_str(), nullptr, MS_BIND, nullptr), 0);
        EXPECT_FALSE(empty()) << place;
        umount2((home + place).c_str(), MNT_DETACH);
        EXPECT_TRUE(fs::exists(outside + "/precious")) << place;
        {
            const test::HungMount hung(home + place);
            ASSERT_TRUE(hung);
            EXPECT_FALSE(empty()) << place;
        }
        EXPECT_TRUE(empty()) << place;
        EXPECT_TRUE(nothingIsLeft()) << place;
    }
}

TEST_F(TrashFolderTest, FindsTheUsersTrashOnOtherVolumes) {
    const std::string number = std::to_string(geteuid());
    const std::string volume = folder.path() + "/volume";
    const std::string shared = volume + "/.Trash";
    throwAway("a", "volume/.Trash/" + number);
    throwAway("b", "volume/.Trash-" + number);
    throwAway("c", "volume/.Trash/1");
    throwAway("d", "volume/.Trash-1");
    const auto has = [&](const std::string& path) { return fs::exists(volume + "/" + path); };
    EXPECT_TRUE(empty({volume, folder.path() + "/absent"}));
    EXPECT_TRUE(has(".Trash/" + number + "/files/a")) << "a shared trash without its sticky bit is not to be trusted";
    EXPECT_FALSE(has(".Trash-" + number + "/files/b"));
    fs::permissions(shared, fs::perms(01777));
    EXPECT_TRUE(empty({volume}));
    EXPECT_FALSE(has(".Trash/" + number + "/files/a"));
    EXPECT_TRUE(has(".Trash/1/files/c") && has(".Trash-1/files/d")) << "other people's";

    throwAway("e", "real/" + number);
    fs::permissions(folder.path() + "/real", fs::perms(01777));
    fs::remove_all(shared);
    fs::create_directory_symlink(folder.path() + "/real", shared);
    fs::remove_all(volume + "/.Trash-" + number);
    fs::create_directory_symlink(folder.path() + "/real/" + number, volume + "/.Trash-" + number);
    EXPECT_TRUE(empty({volume}));
    EXPECT_TRUE(fs::exists(folder.path() + "/real/" + number + "/files/e")) << "links to trashes are none";
    if (geteuid() == 0) {
        fs::remove(volume + "/.Trash-" + number);
        throwAway("f", "volume/.Trash-" + number);
        ASSERT_EQ(chown((volume + "/.Trash-" + number).c_str(), 1, 1), 0);
        EXPECT_TRUE(empty({volume}));
        EXPECT_TRUE(has(".Trash-" + number + "/files/f")) << "somebody else made it";
    }
}

}  // namespace
}  // namespace velmora
