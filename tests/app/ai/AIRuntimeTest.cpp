#include "app/ai/AIRuntime.h"

#include "core/AppError.h"
#include "tests/fakes/FakeTool.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>

namespace velmora::test {
namespace {

/// A model that answers as scripted and remembers what it was asked. It can answer when it is not wanted any more.
class FakeProvider final : public ModelProvider {
  public:
    [[nodiscard]] Task<ModelResponse> chat(std::vector<Message> messages, std::vector<ToolDefinition> tools,
                                           std::optional<std::string> continuation) override {
        asked += continuation.value_or("-");
        for (const Message& message : messages)
            asked +=
                " " + std::string(rawValue(message.role)) + message.toolCallID.value_or("") + ":" + message.content;
        for (const ToolDefinition& tool : tools)
            asked += " " + tool.name;
        asked += "\n";
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
    std::string asked;
};

/// Each character is the identifier of a call.
ModelResponse calls(std::string_view ids, const std::string& tool = "a.one") {
    ModelResponse response;
    for (const char id : ids)
        response.toolCalls.push_back({std::string(1, id), tool, JSONValue::Object{{"id", std::string(1, id)}}});
    return response;
}

class AIRuntimeTest : public testing::Test {
  protected:
    AIRuntimeTest() {
        for (const auto& tool : {two, one})
            registry.registerTool(tool);
    }

    /// The messages of the conversation are in `outcome`, or what the run failed with.
    TaskHandle run(std::optional<Agent> agent = std::nullopt, std::vector<Skill> skills = {}) {
        const TaskHandle task = loop.start(outcome, [this, agent, skills]() -> Task<std::string> {
            const auto status = [this](const std::string& line) { lines += line + " "; };
            const Conversation conversation = co_await runtime.run("do it", provider, agent, skills, status);
            co_return encodeJSON(conversation.messages).encodedString();
        });
        loop.settle();
        return task;
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
    provider->responses = {calls("12"), calls("3"), {"Done.", {}, {}}};
    provider->responses[0].text = "Looking.";
    provider->responses[0].continuation = "first";
    provider->responses[1].continuation = "second";
    run();
    EXPECT_EQ(outcome, R"([{"content":"do it","role":"user"},{"content":"Looking.","role":"assistant"},)"
                       R"({"content":"\"done\"","role":"tool","toolCallID":"1"},)"
                       R"({"content":"\"done\"","role":"tool","toolCallID":"2"},)"
                       R"({"content":"\"done\"","role":"tool","toolCallID":"3"},)"
                       R"({"content":"Done.","role":"assistant"}])");
    EXPECT_EQ(provider->asked,
              "- user:do it a.one b.two\nfirst tool1:\"done\" tool2:\"done\" a.one b.two\n"
              "second tool3:\"done\" a.one b.two\n");
    EXPECT_EQ(one->inputs, (std::vector<std::string>{R"({"id":"1"})", R"({"id":"2"})", R"({"id":"3"})"}));
    EXPECT_EQ(lines, "Thinking… Running a.one… Running a.one… Thinking… Running a.one… Thinking… ");
}

TEST_F(AIRuntimeTest, AnAgentHasItsWordsItsSkillsAndItsToolsOnly) {
    Agent agent;
    agent.tools = {"b.two", "b.two"};
    agent.skills = {"/2", "/1"};
    agent.systemPrompt = "Be brief.";
    run(agent, {{"First", "", "Do this.", "/1"}, {"Second", "", "Do that.", "/2"}});
    run(Agent());
    EXPECT_EQ(provider->asked,
              "- system:Be brief.\n\nSelected skill instructions:\nSkill: First\nDo this.\n\n"
              "Skill: Second\nDo that. user:do it b.two\n- system: user:do it\n");
}

TEST_F(AIRuntimeTest, AnAgentThatIsNotWholeDoesNotBegin) {
    const std::string unresolved = "Agent skills could not be resolved.";
    const std::string unavailable = "An Agent tool is unavailable. Connect its server or update the Agent.";
    // The heading and the skill's name take 40 bytes.
    const auto skill = [](std::size_t bytes) { return Skill{"S", "", std::string(bytes - 40, 'x'), "/s"}; };
    const struct {
        std::vector<std::string> tools;
        std::vector<std::string> skills;
        std::vector<Skill> resolved;
        std::string outcome;
    } cases[] = {
        {{}, {"/s"}, {}, unresolved},
        {{}, {"/t"}, {skill(40)}, unresolved},
        {{}, {}, {skill(40)}, unresolved},
        {{}, {"/s"}, {skill(200'001)}, "Agent instructions are too large."},
        {{"a.one", "mcp.gone.tool"}, {}, {}, unavailable},
        {{"a.one"}, {"/s"}, {skill(200'000)}, "The script is over."},
    };
    for (const auto& [tools, skills, resolved, expected] : cases) {
        EXPECT_TRUE(provider->asked.empty()) << "nothing is asked before";
        Agent agent;
        agent.tools = tools;
        agent.skills = skills;
        run(agent, resolved);
        EXPECT_EQ(outcome, expected);
    }
}

TEST_F(AIRuntimeTest, WhatBoundsARun) {
    const auto output = [](std::size_t bytes) { return JSONValue(std::string(bytes - 2, 'x')); };
    const std::string over = "The script is over.";
    const std::string repeated = "The model repeated an operation identifier.";
    const std::string notEnabled = "This tool is not enabled for the current Agent.";
    const struct {
        std::deque<ModelResponse> responses;
        std::string outcome;
        std::size_t ran;
        JSONValue answer = "done";
        std::optional<Agent> agent = std::nullopt;
    } cases[] = {
        {{calls("12345678")}, over, 8},
        {{calls("123456789")}, "The model requested too many operations at once.", 0},
        {{calls("11")}, repeated, 1},
        {{calls("1"), calls("21")}, repeated, 2},
        {{calls("1", "a.three")}, notEnabled, 0},
        {{calls("1")}, notEnabled, 0, "done", Agent()},
        {{calls("1", "b.two")}, "Refused.", 0},
        {{calls("1")}, over, 1, output(256'000)},
        {{calls("1")}, "Tool output is too large to send to the model.", 1, output(256'001)},
        {{calls("1")}, "A number is not finite.", 1, NAN},
        {{calls("1"), calls("2"), calls("3"), calls("4"), calls("5"), calls("6"), calls("7"), calls("8"), calls("9")},
         "The AI reached its eight-step limit. Please narrow the request.",
         8},
    };
    for (const auto& [responses, expected, ran, answer, agent] : cases) {
        provider->responses = responses;
        one->answer = answer;
        one->inputs.clear();
        run(agent);
        EXPECT_EQ(outcome, expected);
        EXPECT_EQ(one->inputs.size(), ran) << expected;
    }
}

TEST_F(AIRuntimeTest, FailingAndCancellingEndTheRun) {
    one->failure = std::make_exception_ptr(AppError::recoverable("Broken."));
    provider->responses = {calls("12")};
    run();
    EXPECT_EQ(outcome, "Broken.");
    one->stalls = true;
    provider->responses = {calls("12")};
    const TaskHandle inTool = run();
    EXPECT_FALSE(inTool.done());
    inTool.cancel();
    loop.settle();
    EXPECT_EQ(outcome, "cancelled") << "while a tool never returns";
    provider->stalls = true;
    provider->responses = {calls("1")};
    run().cancel();
    provider->held->fulfil();
    loop.settle();
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(one->inputs.size(), 2U) << "one each; an answer that comes late starts nothing";
}

}  // namespace
}  // namespace velmora::test
