#include "platform/linux/clipboard/WaylandClipboard.h"

#include "platform/Pasteboard.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/clipboard/Compositor.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using How = Compositor::How;
using Types = std::vector<std::string>;

const std::string plain(pasteboardType::text);
const std::string address(pasteboardType::url);

class WaylandClipboardTest : public testing::Test {
  protected:
    /// Puts it on the clipboard and waits until that is known.
    void own(Compositor::Content content) {
        const std::int64_t before = clipboard->clipboardChanges();
        compositor.own(std::move(content));
        until([&] { return clipboard->clipboardChanges() > before; });
    }
    Types types() {
        return loop.run([&]() -> Task<Types> { co_return co_await clipboard->clipboardTypes(); });
    }
    std::optional<std::string> read(const std::string& type, std::size_t maximumBytes = 1'000'000) {
        return loop.run([&]() -> Task<std::optional<std::string>> {
            co_return co_await clipboard->clipboardString(type, maximumBytes);
        });
    }
    /// What is waited for happens on other threads, which wake nobody here.
    static void until(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(2ms);
        EXPECT_TRUE(condition());
    }

    Compositor compositor;
    TestLoop loop;
    std::unique_ptr<WaylandClipboard> clipboard = WaylandClipboard::connect({.display = compositor.name()});
};

TEST_F(WaylandClipboardTest, CountsChangesWithoutReading) {
    ASSERT_TRUE(clipboard);
    const std::int64_t start = clipboard->clipboardChanges();
    own({{{"text/plain", "one"}}});
    compositor.ownPrimary();
    own({{{"text/plain", "two"}}});
    EXPECT_EQ(clipboard->clipboardChanges(), start + 2) << "the other selection does not count";
    until([&] { return compositor.offers() == 1; });
    own({});
    EXPECT_EQ(types(), Types{});
    EXPECT_EQ(read(plain), std::nullopt);
    until([&] { return compositor.offers() == 0; });
    EXPECT_EQ(compositor.requests(), 0);
}

TEST_F(WaylandClipboardTest, ReadsWhatIsOffered) {
    std::string large;
    while (large.size() < 500'000)
        large += std::to_string(large.size()) + "€";
    const struct {
        std::map<std::string, std::string> forms;
        Types types;
        std::string asked;
        std::optional<std::string> text;
    } cases[] = {
        {{{"text/plain;charset=utf-8", "grün"}, {"text/plain", "gr"}}, {plain}, plain, "grün"},
        {{{"UTF8_STRING", large}}, {plain}, plain, large},
        {{{"text/plain", "gr\xFCn"}}, {plain}, plain, "grün"},
        {{{"text/plain;charset=utf-8", ""}}, {plain}, plain, ""},
        {{{"text/uri-list", "# a comment\r\nfile:///a%20b\r\n"}}, {address}, address, "file:///a%20b"},
        {{{"image/png", "\x89PNG"}}, {}, plain, std::nullopt},
        {{{"text/plain", "secret"}, {"x-kde-passwordManagerHint", "secret"}},
         {plain, std::string(pasteboardType::concealed)},
         address,
         std::nullopt},
    };
    for (const auto& test : cases) {
        own({test.forms});
        EXPECT_EQ(types(), test.types);
        EXPECT_EQ(read(test.asked), test.text);
    }
    own({{{"text/plain", large}}});
    const auto part = read(plain, 1000);
    ASSERT_TRUE(part);
    EXPECT_GT(part->size(), 1000U);
    EXPECT_TRUE(large.starts_with(*part));
}

TEST_F(WaylandClipboardTest, AnOwnerThatDoesNotAnswerHasNothing) {
    clipboard = WaylandClipboard::connect({.display = compositor.name(), .timeout = 400ms});
    const auto start = std::chrono::steady_clock::now();
    own({{{"text/plain", "x"}}, How::silent});
    EXPECT_EQ(read(plain), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 400ms);
    own({{{"text/plain", "x"}}, How::losesItself});
    EXPECT_EQ(read(plain), std::nullopt);
    own({{{"text/plain", std::string(65'536, 'x')}}, How::endless});
    EXPECT_GT(read(plain).value_or("").size(), 1'000'000U);
    own({{{"text/plain", "and on"}}});
    EXPECT_EQ(read(plain), "and on");
}

TEST_F(WaylandClipboardTest, EndsWithWhatItWaitsFor) {
    own({{{"text/plain", "x"}}, How::silent});
    const TaskHandle task =
        spawn(loop.executor(), [&]() -> Task<> { static_cast<void>(co_await clipboard->clipboardString(plain, 10)); });
    loop.until([&] { return compositor.requests() == 1; });
    const auto start = std::chrono::steady_clock::now();
    task.cancel();
    loop.until([&] { return task.done(); });
    clipboard.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s) << "an unanswered question lasts five";
}

TEST(WaylandClipboard, IsNotThereWithoutACompositorThatSharesIt) {
    const Compositor closed(false);
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name()}));
    EXPECT_FALSE(WaylandClipboard::connect({.display = closed.name() + "-none"}));
}

TEST(WaylandClipboard, OutlivesTheCompositor) {
    auto compositor = std::make_unique<Compositor>();
    TestLoop loop;
    const auto clipboard = WaylandClipboard::connect({.display = compositor->name()});
    ASSERT_TRUE(clipboard);
    compositor.reset();
    const auto read = [&]() -> Task<std::optional<std::string>> {
        co_return co_await clipboard->clipboardString(plain, 10);
    };
    EXPECT_EQ(loop.run(read), std::nullopt);
}

}  // namespace
}  // namespace velmora::test
