#include "core/assistant/Tools.h"

#include "core/AppError.h"
#include "tests/fakes/FakeTool.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;

class ToolRegistryTest : public testing::Test {
  protected:
    std::shared_ptr<FakeTool> add(ToolDefinition definition) {
        auto tool = std::make_shared<FakeTool>(std::move(definition));
        registry.registerTool(tool);
        return tool;
    }

    /// What the call of the tool "a" ends with is in `outcome`.
    TaskHandle call(const JSONValue& input) {
        const TaskHandle task = loop.start(outcome, [this, input]() -> Task<std::string> {
            const ToolResult result = co_await registry.call("a", input);
            co_return *result.value.string();
        });
        loop.settle();
        return task;
    }

    TestLoop loop;
    std::string outcome;
    std::vector<std::string> asked;
    bool refuses = false;
    bool waits = false;
    std::optional<Completion<>> answer;  ///< to the question that waits
    ToolRegistry registry{[this](ToolDefinition tool, JSONValue input) -> Task<> {
        asked.push_back(tool.name + input.encodedString());
        const auto hold = [this](const Completion<>& given) { answer = given; };
        const auto ignore = [] {};  // an answer that is on its way does not notice that it is not wanted any more
        if (waits) co_await Completion<>::await(hold, ignore);
        if (refuses) throw AppError::permission("No.");
    }};
};

TEST_F(ToolRegistryTest, LooksAtTheInputBeforeItAsksOrRuns) {
    const JSONValue needsPath = Object{{"required", Array{"path"}}};
    const std::string missing = "Required tool input is missing.";
    const struct {
        JSONValue schema;
        JSONValue input;
        std::string outcome;
    } cases[] = {
        {Object{{"required", "path"}}, Object{}, "done"},
        {needsPath, Object{{"path", ""}}, "done"},
        {needsPath, Object{{"path", false}}, "done"},
        {needsPath, Object{}, missing},
        {needsPath, Object{{"path", nullptr}}, missing},
        {Object{{"required", Array{"path", 5}}}, Object{{"path", "x"}, {"5", "x"}}, missing},
        {nullptr, Array{}, "Tool input must be a JSON object."},
    };
    for (const auto& [schema, input, expected] : cases) {
        const auto tool = add({"a", "", schema, ToolPermission::destructive, false});
        asked.clear();
        call(input);
        EXPECT_EQ(outcome, expected) << input.encodedString();
        EXPECT_EQ(tool->inputs.size(), expected == "done" ? 1U : 0U);
        EXPECT_EQ(asked.size(), tool->inputs.size());
        registry.remove("");
    }
    call(Object{});
    EXPECT_EQ(outcome, "This tool is not available.");
}

TEST_F(ToolRegistryTest, AsksWhereThePolicyOrTheToolWantsIt) {
    using enum ToolPermission;
    const struct {
        ToolPermission permission;
        bool requiresApproval;
        bool confirmWrites;
        bool asks;
    } cases[] = {{read, false, true, false},        {write, false, true, true}, {write, false, false, false},
                 {destructive, false, false, true}, {read, true, false, true},  {write, true, false, true}};
    refuses = true;
    for (const auto& [permission, requiresApproval, confirmWrites, asks] : cases) {
        const auto tool = add({"a", "", nullptr, permission, requiresApproval});
        registry.policy.confirmWrites = confirmWrites;
        call(Object{{"x", 1}});
        EXPECT_EQ(outcome, asks ? "No." : "done") << rawValue(permission);
        EXPECT_EQ(tool->inputs.empty(), asks);
        EXPECT_EQ(std::exchange(asked, {}), std::vector<std::string>(asks ? 1 : 0, R"(a{"x":1})"));
        registry.remove("a");
    }
}

TEST_F(ToolRegistryTest, WhatWasApprovedRunsAndNothingInItsPlace) {
    waits = true;
    const auto tool = add({"a", "", nullptr, ToolPermission::write, false});
    call(Object{{"x", 1}});
    registry.remove("a");
    const auto other = add({"a", "", nullptr, ToolPermission::write, false});
    answer->fulfil();
    loop.settle();
    EXPECT_EQ(tool->inputs, std::vector<std::string>{R"({"x":1})"});
    call(Object{}).cancel();
    answer->fulfil();
    loop.settle();
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_TRUE(other->inputs.empty()) << "allowed, but no longer wanted";
}

}  // namespace
}  // namespace velmora::test
