#include "app/services/quick/Quicklinks.h"

#include "core/AppError.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(Quicklinks, TakeWebAndFileAddressesOnly) {
    EXPECT_EQ(Quicklinks::validatedURL("\u00A0 HTTPS://Example.com/a b\r\n").text, "https://example.com/a%20b");
    EXPECT_EQ(Quicklinks::validatedURL("FILE:///tmp/x").text, "file:///tmp/x");
    for (const char* const refused :
         {"  ", "example.com", "mailto:ann@example.com", "javascript:alert(1)", "https://"}) {
        EXPECT_THROW(static_cast<void>(Quicklinks::validatedURL(refused)), AppError) << refused;
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
    EXPECT_EQ(workspace.openedURLs, std::vector<std::string>{"https://example.com/%7Bquery%7D"});
    EXPECT_THROW(open("javascript:alert(1)"), AppError) << "a database is not to be believed";
    workspace.fails = true;
    EXPECT_NO_THROW(open("https://example.com/"));
}

}  // namespace
}  // namespace velmora
