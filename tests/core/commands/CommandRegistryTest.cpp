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

std::vector<std::string> sortedTitles(const CommandRegistry& registry) {
    auto all = titles(registry.results());
    std::sort(all.begin(), all.end());
    return all;
}

TEST(CommandRegistry, ReplacesAGroupAsAWholeOrNotAtAll) {
    CommandRegistry registry;
    registry.registerCommand(command("finder", "Finder"));
    registry.replace("app:", {command("app:1", "One"), command("app:2", "Two")});
    EXPECT_EQ(sortedTitles(registry), (std::vector<std::string>{"Finder", "One", "Two"}));

    const std::vector<std::vector<CommandRegistry::CommandPointer>> refused = {
        {command("app:3", "Three"), command("quicklink:1", "Link")},
        {command("app:3", "Three"), command("app:3", "Again")},
        {command("APP:3", "Three")},
    };
    for (const auto& commands : refused) {
        EXPECT_THROW(registry.replace("app:", commands), AppError);
        EXPECT_EQ(sortedTitles(registry), (std::vector<std::string>{"Finder", "One", "Two"}));
    }
    registry.replace("app:", {command("app:2", "Newer")});
    EXPECT_EQ(sortedTitles(registry), (std::vector<std::string>{"Finder", "Newer"}));
    registry.replace("app:", {});
    EXPECT_EQ(sortedTitles(registry), std::vector<std::string>{"Finder"});
    EXPECT_THROW(registry.registerCommand(command("finder", "Again")), AppError);
    EXPECT_NO_THROW(registry.registerCommand(command("app:2", "Two")));
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

TEST(CommandRegistry, NoticesThatAResultChanged) {
    /// A command whose title changes between queries.
    struct Changing final : Command {
        [[nodiscard]] const std::string& id() const override { return current->id; }
        [[nodiscard]] ResultPointer result(const CommandContext& context) const override {
            return command("changing", title)->result(context);
        }
        ResultPointer current = command("changing", "")->result({});
        std::string title = "Before";
    };
    const auto changing = std::make_shared<Changing>();
    CommandRegistry registry;
    registry.registerCommand(changing);
    const test::ManualClock clock;
    EXPECT_EQ(registry.ranked("before", {}, clock, 60).size(), 1U);
    changing->title = "After";
    EXPECT_TRUE(registry.ranked("before", {}, clock, 60).empty());
    EXPECT_EQ(registry.ranked("after", {}, clock, 60).size(), 1U);
}

TEST(AppError, TurnsAnyFailureIntoWords) {
    const auto friendly = [](auto failure) { return AppError::friendly(std::make_exception_ptr(failure)); };
    EXPECT_EQ(friendly(Cancelled{}), "Operation cancelled.");
    EXPECT_EQ(friendly(AppError::database("Could not save local data.")), "Could not save local data.");
    EXPECT_EQ(friendly(std::runtime_error("ENOENT")),
              "The operation could not be completed. Please try again or check permissions.");
    EXPECT_EQ(friendly(7), "The operation could not be completed. Please try again or check permissions.");
}

}  // namespace
}  // namespace velmora
