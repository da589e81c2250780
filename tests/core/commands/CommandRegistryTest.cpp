#include "core/commands/CommandRegistry.h"

#include "core/AppError.h"
#include "tests/fakes/ManualClock.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

std::shared_ptr<const Command> command(const std::string& id, const std::string& title) {
    CommandResult result;
    result.id = id;
    result.title = title;
    return std::make_shared<StaticCommand>(result);
}

std::vector<std::string> titles(const std::vector<ResultPointer>& results) {
    std::vector<std::string> all;
    for (const auto& result : results)
        all.push_back(result->title);
    return all;
}

TEST(CommandRegistry, ReplacesAGroupAsAWholeOrNotAtAll) {
    CommandRegistry registry;
    registry.registerCommand(command("finder", "Finder"));
    registry.replace("app:", {command("app:1", "One"), command("app:2", "Two")});
    const test::ManualClock clock;
    const auto listed = [&] { return titles(registry.ranked("", {}, clock, 60)); };
    const std::vector<std::vector<CommandRegistry::CommandPointer>> refused = {
        {command("app:3", "Three"), command("quicklink:1", "Link")},
        {command("app:3", "Three"), command("app:3", "Again")},
        {command("APP:3", "Three")},
    };
    for (const auto& commands : refused) {
        EXPECT_THROW(registry.replace("app:", commands), AppError);
        EXPECT_EQ(listed(), (std::vector<std::string>{"Finder", "One", "Two"}));
    }
    registry.replace("app:", {command("app:2", "Newer")});
    EXPECT_EQ(listed(), (std::vector<std::string>{"Finder", "Newer"}));
    EXPECT_THROW(registry.registerCommand(command("finder", "Again")), AppError);
}

TEST(CommandRegistry, RanksByScoreThenTitleAndCutsOff) {
    CommandRegistry registry;
    for (const char* title : {"alpha", "Zed", "Beta", "Alpha", "E\u0301cole", "École B"}) {
        registry.registerCommand(command(title, title));
    }
    const test::ManualClock clock;
    const auto ranked = [&](std::string_view query, const UsageMap& usages = {}, std::size_t limit = 60) {
        return titles(registry.ranked(query, usages, clock, limit));
    };
    EXPECT_EQ(ranked(""), (std::vector<std::string>{"Alpha", "Beta", "Zed", "alpha", "E\u0301cole", "École B"}))
        << "upper case first; composed and decomposed letters together";
    EXPECT_EQ(ranked("a"), (std::vector<std::string>{"Alpha", "alpha", "Beta"}));
    EXPECT_EQ(ranked("", {{"Zed", {3, clock.now() - 1h}}}, 2), (std::vector<std::string>{"Zed", "Alpha"}));
}

}  // namespace
}  // namespace velmora
