#pragma once

#include "core/assistant/AIModels.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The texts of the Responses API: what a request consists of and what an answer means. Runs on: any thread; long texts
/// take tens of milliseconds. Fails with: `JSONError` for what is not JSON, `AppError` for what means nothing.
namespace velmora::responses {

/// The items a request begins with and the messages that are new, as the JSON text of one array. `continuation` is such
/// a text from the step before.
std::string inputItems(const std::optional<std::string>& continuation, const std::vector<Message>& messages);

/// The body of a request.
std::string body(const std::string& model, const std::vector<ToolDefinition>& tools, const std::string& inputItems);

/// What the body of an answer says. `inputItems` are those of the request; with what was answered they are the
/// continuation.
ModelResponse answer(std::string body, const std::vector<ToolDefinition>& tools, std::string inputItems);

}  // namespace velmora::responses
