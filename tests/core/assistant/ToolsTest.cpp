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

    TaskHandle call(const std::string& name, const JSONValue& input) {
        return loop.start(outcome, [this, name, input]() -> Task<std::string> {
            const ToolResult result = co_await registry.call(name, input);
            co_return result.value.encodedString();
        });
    }

    /// What a call that needs nobody's answer ends with.
    std::string outcomeOf(const std::string& name, const JSONValue& input) {
        const TaskHandle task = call(name, input);
        loop.until([&] { return task.done(); });
        return outcome;
    }

    TestLoop loop;
    std::string outcome;
    std::vector<std::string> asked;
    bool refuses = false;
    std::optional<Completion<>> answer;  ///< to the question that waits, while `waits`
    bool waits = false;
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
        {Object{}, Object{}, "\"done\""},
        {Object{{"required", "path"}}, Object{}, "\"done\""},
        {nullptr, Object{{"more", 1}}, "\"done\""},
        {needsPath, Object{{"path", ""}}, "\"done\""},
        {needsPath, Object{{"path", false}}, "\"done\""},
        {needsPath, Object{}, missing},
        {needsPath, Object{{"path", nullptr}}, missing},
        {Object{{"required", Array{"path", 5}}}, Object{{"path", "x"}, {"5", "x"}}, missing},
        {Object{}, Array{}, "Tool input must be a JSON object."},
        {Object{}, nullptr, "Tool input must be a JSON object."},
    };
    for (const auto& [schema, input, expected] : cases) {
        const auto tool = add({"a.tool", "", schema, ToolPermission::destructive, false});
        asked.clear();
        EXPECT_EQ(outcomeOf("a.tool", input), expected) << input.encodedString();
        EXPECT_EQ(tool->inputs.size(), expected == "\"done\"" ? 1U : 0U);
        EXPECT_EQ(asked.size(), tool->inputs.size());
        registry.remove("");
    }
    EXPECT_EQ(outcomeOf("a.tool", Object{}), "This tool is not available.");
}

TEST_F(ToolRegistryTest, AsksWhereThePolicyOrTheToolWantsIt) {
    using enum ToolPermission;
    const struct {
        ToolPermission permission;
        bool requiresApproval;
        bool confirmWrites;
        bool asks;
    } cases[] = {
        {read, false, true, false},        {write, false, true, true}, {write, false, false, false},
        {destructive, false, false, true}, {read, true, false, true},  {write, true, false, true},
    };
    for (const auto& [permission, requiresApproval, confirmWrites, asks] : cases) {
        const auto tool = add({"a", "", nullptr, permission, requiresApproval});
        registry.policy.confirmWrites = confirmWrites;
        for (const bool no : {false, true}) {
            refuses = no;
            EXPECT_EQ(outcomeOf("a", Object{{"x", 1}}), no && asks ? "No." : "\"done\"") << rawValue(permission);
        }
        EXPECT_EQ(tool->inputs.size(), asks ? 1U : 2U) << "a refused call does not run";
        EXPECT_EQ(std::exchange(asked, {}), std::vector<std::string>(asks ? 2 : 0, R"(a{"x":1})"));
        registry.remove("a");
    }
}

TEST_F(ToolRegistryTest, WhatHappensWhileTheUserThinks) {
    waits = true;
    const auto tool = add({"a", "", nullptr, ToolPermission::write, false});
    call("a", Object{{"x", 1}});
    loop.settle();
    registry.remove("a");
    add({"a", "", nullptr, ToolPermission::read, false});
    answer->fulfil();
    loop.settle();
    EXPECT_EQ(tool->inputs, std::vector<std::string>{R"({"x":1})"}) << "what was approved, and nothing in its place";
    EXPECT_EQ(outcome, "\"done\"");

    const auto other = add({"b", "", nullptr, ToolPermission::write, false});
    const TaskHandle task = call("b", Object{});
    loop.settle();
    task.cancel();
    answer->fulfil();
    loop.until([&] { return task.done(); });
    EXPECT_TRUE(other->inputs.empty()) << "allowed, but no longer wanted";
}

TEST_F(ToolRegistryTest, NamesAreUniqueAndInOrder) {
    for (const char* const name : {"b.x", "a.y", "a.b"})
        add({name, "", nullptr, ToolPermission::read, false});
    try {
        add({"a.y", "another", nullptr, ToolPermission::read, false});
        FAIL();
    } catch (const AppError& error) {
        EXPECT_EQ(error.kind(), AppError::Kind::configuration);
    }
    const auto names = [&] {
        std::string all;
        for (const ToolDefinition& definition : registry.definitions())
            all += definition.name + definition.description + " ";
        return all;
    };
    EXPECT_EQ(names(), "a.b a.y b.x ");
    registry.remove("a.");
    EXPECT_EQ(names(), "b.x ");
}

TEST_F(ToolRegistryTest, FailuresOfATool) {
    const auto tool = add({"a", "", nullptr, ToolPermission::read, false});
    tool->failure = std::make_exception_ptr(AppError::toolExecution("Broken."));
    EXPECT_EQ(outcomeOf("a", Object{}), "Broken.");
    tool->stalls = true;
    const TaskHandle task = call("a", Object{});
    loop.settle();
    EXPECT_FALSE(task.done());
    task.cancel();
    loop.until([&] { return task.done(); });
    EXPECT_EQ(outcome, "cancelled");
}

}  // namespace
}  // namespace velmora::test
