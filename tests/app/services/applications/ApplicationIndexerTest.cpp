#include "app/services/applications/ApplicationIndexer.h"

#include "platform/Runtime.h"
#include "tests/fakes/FakeBundles.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <latch>

namespace velmora {
namespace {

namespace fs = std::filesystem;

class ApplicationIndexerTest : public testing::Test {
  protected:
    /// Makes "root/relative", a directory for an ".app" and a file otherwise.
    void application(const std::string& relative, const std::string& info = "") {
        if (relative.ends_with(".app")) {
            fs::create_directories(folder.path() + "/" + relative);
        } else {
            folder.write(relative, "x");
        }
        if (!info.empty()) folder.write(relative + ".info", info);
    }

    std::vector<ApplicationRecord> scan(const std::vector<std::string>& roots) {
        bundles->folders.clear();
        for (const std::string& root : roots)
            bundles->folders.push_back(folder.path() + "/" + root);
        return loop.run([&]() -> Task<std::vector<ApplicationRecord>> { co_return co_await indexer.scan(); });
    }

    static std::vector<std::string> names(const std::vector<ApplicationRecord>& records) {
        std::vector<std::string> all;
        for (const auto& record : records)
            all.push_back(record.name);
        return all;
    }

    test::TestLoop loop;
    test::TemporaryFolder folder;
    WorkerPool pool{1};
    std::shared_ptr<test::FakeBundles> bundles = std::make_shared<test::FakeBundles>();
    ApplicationIndexer indexer{pool.executor(), bundles};
};

TEST_F(ApplicationIndexerTest, FindsApplicationsAndNothingElse) {
    application("a/App 10.app", "App 10\nten\n");
    application("a/App 9.app", "app 9\nnine\n");
    application("a/sub/deeper/Plain.app");
    application("a/App 9.app/Contents/Inner.app");
    application("a/.hidden/Secret.app");
    application("a/.Secret.app");
    application("a/readme.txt");
    application("a/broken.entry", "\n\n");
    EXPECT_EQ(names(scan({"missing", "a"})), (std::vector<std::string>{"app 9", "App 10", "broken", "Plain"}));
    const auto plain = scan({"a"}).back();
    EXPECT_EQ(plain.path, folder.path() + "/a/sub/deeper/Plain.app");
    EXPECT_EQ(plain.bundleIdentifier, plain.path) << "without an identifier its path stands in";
}

TEST_F(ApplicationIndexerTest, TheLaterOfTwoWithOneIdentifierCounts) {
    application("first/Editor.app", "Editor\norg.editor\n");
    application("second/Editor.app", "Editor 2\norg.editor\n");
    application("second/Twin.app", "Editor 2\norg.twin\n");
    application("first/masked.entry", "Masked\norg.masked\n");
    application("second/masked.entry", "Masked\norg.masked\nhidden");
    const auto records = scan({"first", "second"});
    ASSERT_EQ(names(records), (std::vector<std::string>{"Editor 2", "Editor 2"}));
    EXPECT_EQ(records[0].path, folder.path() + "/second/Editor.app");
    EXPECT_EQ(scan({"first", "second"}), records) << "equal names keep their order from scan to scan";
    EXPECT_EQ(names(scan({"second", "first"})), (std::vector<std::string>{"Editor", "Editor 2", "Masked"}));
}

TEST_F(ApplicationIndexerTest, FollowsLinksWithoutGoingInCircles) {
    application("real/one.entry", "One\none\n");
    application("elsewhere/two.entry", "Two\ntwo\n");
    application("elsewhere/three.entry", "Three\nthree\n");
    fs::create_directories(folder.path() + "/real/z");
    fs::create_directory_symlink(folder.path() + "/real", folder.path() + "/real/z/up");
    fs::create_directory_symlink(folder.path() + "/real/self", folder.path() + "/real/self");
    fs::create_directory_symlink(folder.path() + "/real/z", folder.path() + "/real/alias");
    fs::create_directory_symlink(folder.path() + "/elsewhere", folder.path() + "/real/link");
    fs::create_symlink(folder.path() + "/elsewhere/two.entry", folder.path() + "/real/two.entry");
    folder.write("real/two.entry.info", "Two\ntwo\n");
    fs::create_symlink(folder.path() + "/nowhere", folder.path() + "/real/dangling.entry");
    application("real/z/in z.entry", "In z\nz\n");
    const auto records = scan({"real"});
    EXPECT_EQ(names(records), (std::vector<std::string>{"In z", "One", "Three", "Two"}));
    EXPECT_EQ(records[0].path, folder.path() + "/real/z/in z.entry") << "found under its own name, not a link's";
    EXPECT_EQ(names(scan({"real", "elsewhere"})).size(), 4);
    EXPECT_EQ(scan({"real", "elsewhere"})[2].path, folder.path() + "/elsewhere/three.entry")
        << "a root is walked although a link of an earlier one led there";
}

TEST_F(ApplicationIndexerTest, EndsInAnEndlessTree) {
    std::string deep = "deep";
    for (int i = 0; i < 200; ++i)
        deep += "/d";
    application(deep + "/Too deep.app");
    application("deep/d/d/Near.app");
    EXPECT_EQ(names(scan({"deep"})), std::vector<std::string>{"Near"});
}

TEST_F(ApplicationIndexerTest, IgnoresWhatVanishesDuringTheWalk) {
    application("a/One.app", "One\none\n");
    application("a/Two.app");
    application("a/sub/Three.app", "Three\nthree\n");
    bundles->beforeReading = [&](const std::string& path) {
        if (path.ends_with("One.app")) {
            fs::remove_all(folder.path() + "/a/Two.app");
            fs::remove_all(folder.path() + "/a/sub");
        }
    };
    EXPECT_EQ(names(scan({"a"})), std::vector<std::string>{"One"});
}

TEST_F(ApplicationIndexerTest, MakesNamesFitForOneLine) {
    const std::string longName(100'000, 'n');
    application("a/1.app", " Tab\tand\x1b[31m\x7f\n1\n");
    application("a/2.app", "caf\xc3\n2\n");
    application("a/3 \xff.app", " \t \n3\n");
    application("a/4.app", "line\u2028break\n4\n");
    application("a/5.app", longName + "\n5\n");
    EXPECT_EQ(names(scan({"a"})),
              (std::vector<std::string>{"3 \uFFFD", "caf\uFFFD", "line break", std::string(256, 'n'), "Tab and [31m"}));
}

TEST_F(ApplicationIndexerTest, StopsWhenCancelled) {
    for (int i = 0; i < 50; ++i)
        application("a/d" + std::to_string(i) + "/A.app");
    std::atomic<int> reads = 0;
    std::latch begun(1);
    std::latch release(1);
    bundles->folders = {folder.path() + "/a"};
    bundles->beforeReading = [&](const std::string&) {
        if (++reads > 1) return;
        begun.count_down();
        release.wait();
    };
    const TaskHandle task = spawn(loop.executor(), [&]() -> Task<> { co_await indexer.scan(); });
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
