#include "app/services/quick/Quicklinks.h"

#include "core/AppError.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(QuicklinkCommand, OpensWebAndFileAddressesOnly) {
    test::TestLoop loop;
    test::ManualClock clock;
    test::FakeWorkspace workspace(clock);
    const auto open = [&](const std::string& url) {
        const ResultPointer result = QuicklinkCommand({"1", "x", url}, workspace).result({});
        loop.run([&]() -> Task<> { co_await result->actions.at(0).execute(); });
    };
    open("\u00A0 HTTPS://Example.com/{query}\r\n");
    open("FILE:///tmp/x");
    for (const char* const refused : {"  ", "mailto:ann@example.com", "javascript:alert(1)", "https://"})
        EXPECT_THROW(open(refused), AppError) << "a database is not to be believed";
    EXPECT_EQ(workspace.openedURLs, (std::vector<std::string>{"https://example.com/%7Bquery%7D", "file:///tmp/x"}));
}

}  // namespace
}  // namespace velmora
