#include "app/ai/AIRuntime.h"

#include "core/AppError.h"
#include "tests/fakes/FakeTool.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>

namespace velmora::test {
namespace {

using Object = JSONValue::Object;

/// A model that answers as scripted and remembers what it was asked. It can fail, and answer when told to, wanted or
/// not.
class FakeProvider final : public ModelProvider {
  public:
    [[nodiscard]] Task<ModelResponse> chat(std::vector<Message> messages, std::vector<ToolDefinition> tools,
                                           std::optional<std::string> continuation) override {
        std::string line = continuation.value_or("-") + " |";
        for (const Message& message : messages)
            line += " " + std::string(rawValue(message.role)) + message.toolCallID.value_or("") + ":" + message.content;
        line += " |";
        for (const ToolDefinition& tool : tools)
            line += " " + tool.name;
        asked.push_back(line);
        const auto hold = [this](const Completion<>& answer) { held = answer; };
        const auto ignore = [] {};
        if (stalls) co_await Completion<>::await(hold, ignore);
        if (responses.empty()) throw AppError::network("The script is over.");
        ModelResponse response = std::move(responses.front());
        responses.pop_front();
        co_return response;
    }

    std::deque<ModelResponse> responses;
    bool stalls = false;
    std::optional<Completion<>> held;
    std::vector<std::string> asked;
};

std::vector<ToolCall> calls(std::vector<std::string> ids, const std::string& tool = "a.one") {
    std::vector<ToolCall> all;
    for (std::string& id : ids)
        all.push_back({std::move(id), tool, Object{{"n", all.size()}}});
    return all;
}

class AIRuntimeTest : public testing::Test {
  protected:
    AIRuntimeTest() {
        for (const auto& tool : {two, one})
            registry.registerTool(tool);
    }

    TaskHandle start(std::optional<Agent> agent = std::nullopt, std::vector<Skill> skills = {}) {
        lines.clear();
        return loop.start(outcome, [this, agent, skills]() -> Task<std::string> {
            const auto status = [this](const std::string& line) { lines += line + " "; };
            const Conversation conversation = co_await runtime.run("do it", provider, agent, skills, status);
            co_return encodeJSON(conversation.messages).encodedString();
        });
    }

    /// The messages of the conversation, or what the run failed with.
    std::string run(std::optional<Agent> agent = std::nullopt, std::vector<Skill> skills = {}) {
        const TaskHandle task = start(std::move(agent), std::move(skills));
        loop.until([&] { return task.done(); });
        return outcome;
    }

    TestLoop loop;
    std::string outcome;
    std::string lines;
    ToolRegistry registry{[](ToolDefinition, JSONValue) -> Task<> { throw AppError::permission("Refused."); }};
    std::shared_ptr<FakeTool> one = std::make_shared<FakeTool>("a.one");
    std::shared_ptr<FakeTool> two = std::make_shared<FakeTool>("b.two", ToolPermission::write);
    std::shared_ptr<FakeProvider> provider = std::make_shared<FakeProvider>();
    AIRuntime runtime{registry};
};

TEST_F(AIRuntimeTest, RunsToolsUntilTheModelAsksForNone) {
    one->answer = Object{{"ok", true}};
    provider->responses = {
        {"Looking.", calls({"c1", "c2"}), "first"}, {"", calls({"c3"}), "second"}, {"Done.", {}, "third"}};
    EXPECT_EQ(run(), R"([{"content":"do it","role":"user"},{"content":"Looking.","role":"assistant"},)"
                     R"({"content":"{\"ok\":true}","role":"tool","toolCallID":"c1"},)"
                     R"({"content":"{\"ok\":true}","role":"tool","toolCallID":"c2"},)"
                     R"({"content":"{\"ok\":true}","role":"tool","toolCallID":"c3"},)"
                     R"({"content":"Done.","role":"assistant"}])");
    EXPECT_EQ(provider->asked,
              (std::vector<std::string>{R"(- | user:do it | a.one b.two)",
                                        R"(first | toolc1:{"ok":true} toolc2:{"ok":true} | a.one b.two)",
                                        R"(second | toolc3:{"ok":true} | a.one b.two)"}));
    EXPECT_EQ(one->inputs, (std::vector<std::string>{R"({"n":0})", R"({"n":1})", R"({"n":0})"}));
    EXPECT_EQ(lines, "Thinking… Running a.one… Running a.one… Thinking… Running a.one… Thinking… ");
}

TEST_F(AIRuntimeTest, AnAgentHasItsWordsItsSkillsAndItsToolsOnly) {
    Agent agent;
    agent.tools = {"b.two", "b.two"};
    agent.skills = {"/2", "/1"};
    agent.systemPrompt = "Be brief.";
    provider->responses = {{"Done.", {}, {}}};
    run(agent, {{"First", "", "Do this.", "/1"}, {"Second", "", "Do that.", "/2"}});
    agent = {};
    provider->responses = {{"Done.", {}, {}}};
    run(agent);
    EXPECT_EQ(provider->asked,
              (std::vector<std::string>{"- | system:Be brief.\n\nSelected skill instructions:\nSkill: First\nDo "
                                        "this.\n\nSkill: Second\nDo that. user:do it | b.two",
                                        "- | system: user:do it |"}));
}

TEST_F(AIRuntimeTest, AnAgentThatIsNotWholeDoesNotBegin) {
    Agent agent;
    agent.systemPrompt = std::string(199'000, 'x');
    const auto changed = [&](auto change) {
        Agent other = agent;
        change(other);
        return other;
    };
    const std::string skills = "Agent skills could not be resolved.";
    const std::string tools = "An Agent tool is unavailable. Connect its server or update the Agent.";
    const Skill small{"S", "", "", "/s"};
    // The heading and the skill's name take 40 bytes.
    const Skill fits{"S", "", std::string(960, 'x'), "/s"};
    const Skill large{"S", "", std::string(961, 'x'), "/s"};
    const struct {
        Agent agent;
        std::vector<Skill> skills;
        std::string outcome;
    } cases[] = {
        {changed([](Agent& it) { it.skills = {"/s"}; }), {}, skills},
        {changed([](Agent& it) { it.skills = {"/t"}; }), {small}, skills},
        {agent, {small}, skills},
        {changed([](Agent& it) { it.skills = {"/s"}; }), {large}, "Agent instructions are too large."},
        {changed([](Agent& it) {
             it.tools = {"a.one", "mcp.gone.tool"};
         }),
         {},
         tools},
        {changed([](Agent& it) { it.skills = {"/s"}; }), {fits}, "The script is over."},
    };
    for (const auto& [it, resolved, expected] : cases) {
        provider->asked.clear();
        EXPECT_EQ(run(it, resolved), expected);
        EXPECT_EQ(provider->asked.empty(), expected != "The script is over.");
    }
}

TEST_F(AIRuntimeTest, WhatBoundsARun) {
    const auto output = [](std::size_t bytes) { return JSONValue(std::string(bytes - 2, 'x')); };
    const std::string repeated = "The model repeated an operation identifier.";
    Agent agent;
    agent.tools = {"b.two"};
    const struct {
        const char* what;
        std::deque<ModelResponse> responses;
        std::string outcome;
        std::size_t ran;
        JSONValue answer = "done";
        std::optional<Agent> agent = std::nullopt;
    } cases[] = {
        {"eight calls", {{"", calls({"1", "2", "3", "4", "5", "6", "7", "8"}), {}}}, "The script is over.", 8},
        {"nine calls",
         {{"", calls({"1", "2", "3", "4", "5", "6", "7", "8", "9"}), {}}},
         "The model requested too many operations at once.",
         0},
        {"an identifier twice", {{"", calls({"1", "1"}), {}}}, repeated, 1},
        {"an old identifier", {{"", calls({"1"}), {}}, {"", calls({"2", "1"}), {}}}, repeated, 2},
        {"no such tool", {{"", calls({"1"}, "a.three"), {}}}, "This tool is not enabled for the current Agent.", 0},
        {"not the agent's tool",
         {{"", calls({"1"}), {}}},
         "This tool is not enabled for the current Agent.",
         0,
         "done",
         agent},
        {"a refused call", {{"", calls({"1"}, "b.two"), {}}}, "Refused.", 0},
        {"the largest output", {{"", calls({"1"}), {}}}, "The script is over.", 1, output(256'000)},
        {"a larger output",
         {{"", calls({"1"}), {}}},
         "Tool output is too large to send to the model.",
         1,
         output(256'001)},
        {"an output that has no text", {{"", calls({"1"}), {}}}, "A number is not finite.", 1, NAN},
    };
    for (const auto& [what, responses, expected, ran, answer, whose] : cases) {
        provider->responses = responses;
        one->answer = answer;
        one->inputs.clear();
        EXPECT_EQ(run(whose), expected) << what;
        EXPECT_EQ(one->inputs.size(), ran) << what;
    }
    EXPECT_TRUE(two->inputs.empty());
}

TEST_F(AIRuntimeTest, EightStepsAreEnough) {
    for (int step = 1; step <= 8; ++step)
        provider->responses.push_back({"", calls({std::to_string(step)}), {}});
    EXPECT_EQ(run(), "The AI reached its eight-step limit. Please narrow the request.");
    EXPECT_EQ(one->inputs.size(), 8U);
    EXPECT_EQ(provider->asked.size(), 8U);
}

TEST_F(AIRuntimeTest, FailuresOfToolsEndTheRun) {
    one->failure = std::make_exception_ptr(AppError::recoverable("Broken."));
    provider->responses = {{"", calls({"1", "2"}), {}}};
    EXPECT_EQ(run(), "Broken.");
    EXPECT_EQ(one->inputs.size(), 1U);
}

TEST_F(AIRuntimeTest, CancellingEndsTheRunWhereverItIs) {
    const auto cancel = [&](const TaskHandle& task) {
        loop.settle();
        EXPECT_FALSE(task.done());
        task.cancel();
        loop.settle();
    };
    provider->responses = {{"", calls({"1", "2"}), {}}};
    one->stalls = true;
    const TaskHandle inTool = start();
    cancel(inTool);
    EXPECT_TRUE(inTool.done());
    EXPECT_EQ(outcome, "cancelled") << "while a tool never returns";
    EXPECT_EQ(one->inputs.size(), 1U);

    one->stalls = false;
    provider->stalls = true;
    provider->responses = {{"", calls({"1"}), {}}};
    const TaskHandle inProvider = start();
    cancel(inProvider);
    provider->held->fulfil();
    loop.until([&] { return inProvider.done(); });
    EXPECT_EQ(one->inputs.size(), 1U) << "an answer that comes late starts nothing";
    EXPECT_EQ(outcome, "cancelled");
}

}  // namespace
}  // namespace velmora::test
