#pragma once

#include "core/assistant/Tools.h"
#include "core/async/Completion.h"

#include <exception>
#include <string>
#include <vector>

namespace velmora::test {

/// A tool that remembers its inputs. It can fail, and take for ever.
class FakeTool final : public Tool {
  public:
    explicit FakeTool(std::string name, ToolPermission permission = ToolPermission::read)
        : definition_{std::move(name), "", nullptr, permission, false} {}
    explicit FakeTool(ToolDefinition definition) : definition_(std::move(definition)) {}

    [[nodiscard]] const ToolDefinition& definition() const override { return definition_; }

    [[nodiscard]] Task<ToolResult> execute(JSONValue input) override {
        inputs.push_back(input.encodedString());
        const auto hold = [this](const Completion<>& end) { held_.push_back(end); };
        if (stalls) co_await Completion<>::await(hold);
        if (failure) std::rethrow_exception(failure);
        co_return ToolResult{answer};
    }

    JSONValue answer = "done";
    std::exception_ptr failure;
    bool stalls = false;
    std::vector<std::string> inputs;

  private:
    ToolDefinition definition_;
    std::vector<Completion<>> held_;
};

}  // namespace velmora::test
