#include "app/services/quick/Quicklinks.h"

#include "core/AppError.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

const std::string wrongAddress = "Quicklinks must use http, https or file addresses.";

template <class Call>
std::string failureOf(Call call) {
    try {
        call();
    } catch (const AppError& error) {
        EXPECT_EQ(error.kind(), AppError::Kind::configuration);
        return error.what();
    }
    return "";
}

TEST(Quicklinks, TakeWebAndFileAddressesOnly) {
    EXPECT_EQ(Quicklinks::validatedURL("\u00A0 HTTPS://Example.com/a b\r\n").text, "https://example.com/a%20b");
    EXPECT_EQ(Quicklinks::validatedURL("FILE:///tmp/x").text, "file:///tmp/x");
    for (const char* const refused :
         {"  ", "example.com", "mailto:ann@example.com", "javascript:alert(1)", "https://"}) {
        EXPECT_EQ(failureOf([&] { static_cast<void>(Quicklinks::validatedURL(refused)); }), wrongAddress) << refused;
    }
}

TEST(Quicklinks, AreMadeOfWhatTheUserTyped) {
    const Quicklink link = Quicklinks::make("  Team Wiki\n", " https://Wiki.example.com ");
    EXPECT_EQ(link.title, "Team Wiki");
    EXPECT_EQ(link.url, "https://wiki.example.com/");
    EXPECT_EQ(link.id.size(), 36U);
    EXPECT_NE(link.id, Quicklinks::make("x", "https://x.example").id);
    EXPECT_EQ(failureOf([] { static_cast<void>(Quicklinks::make(" \t ", "https://x.example")); }),
              "Give the quicklink a name.");
}

TEST(QuicklinkCommand, IsFoundByItsTitleAndHost) {
    struct Case {
        Quicklink link;
        std::string subtitle;
        Texts keywords;
    };
    const std::vector<Case> cases{
        {{"1", "Große  ÉCOLE", "https://Wiki.my-team.example/x"},
         "wiki.my-team.example",
         {"große", "école", "wiki", "my-team", "example"}},
        {{"2", "Notes", "file:///home/ann/n.txt"}, "file:///home/ann/n.txt", {"notes", "file:///home/ann/n", "txt"}},
        {{"3", "", "-a-..--.b"}, "-a-..--.b", {"a", "b"}},
        {{"4", "\xFF", "\xFF"}, "\uFFFD", {"\uFFFD", "\uFFFD"}},
    };
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    for (const Case& one : cases) {
        const QuicklinkCommand command(one.link, workspace);
        const ResultPointer result = command.result({});
        EXPECT_EQ(result->id, command.id());
        EXPECT_EQ(result->subtitle, one.subtitle);
        EXPECT_EQ(result->keywords, one.keywords);
        EXPECT_FALSE(result->keepsOpen);
    }
}

TEST(QuicklinkCommand, OpensItsAddressWhateverTheDesktopSays) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    const auto open = [&](const std::string& url) {
        const ResultPointer result = QuicklinkCommand({"1", "x", url}, workspace).result({});
        loop.run([&]() -> Task<> { co_await result->actions.at(0).execute(); });
    };
    open("https://example.com/{query}");
    EXPECT_EQ(workspace.openedURLs, Texts{"https://example.com/%7Bquery%7D"});
    EXPECT_EQ(failureOf([&] { open("javascript:alert(1)"); }), wrongAddress) << "a database is not to be believed";
    workspace.fails = true;
    EXPECT_NO_THROW(open("https://example.com/"));
}

}  // namespace
}  // namespace velmora
