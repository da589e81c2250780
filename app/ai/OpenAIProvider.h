#pragma once

#include "core/assistant/AIModels.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class HttpClient;
class KeychainService;
struct HttpRequest;
struct HttpResponse;

/// Where the requests go: the published service, or a compatible server that the environment names.
///
/// `named` is what it says; empty for the published service. What nothing may be sent to (see `HttpClient`) is refused:
/// said in the log, and no request goes anywhere, least of all to another server than was meant.
std::string responsesEndpoint(std::string_view named);

/// A model behind the Responses API. The server keeps nothing: everything that was sent and answered in a run so far
/// travels in the continuation. Tools have names there that say nothing, "tool_0" and so on.
///
/// Runs on: any task; reading and writing JSON, which may be megabytes, is done by the pool. Has no state. Fails with:
/// `AppError`; what the keychain fails with; `JSONError` where what came, or the continuation, is not JSON.
class OpenAIProvider final : public ModelProvider {
  public:
    static constexpr std::string_view apiKeyAccount = "ai.openai";

    /// `http` must outlive the calls.
    OpenAIProvider(std::string model, std::string endpoint, std::shared_ptr<KeychainService> keychain, HttpClient& http,
                   Executor pool);

    [[nodiscard]] Task<ModelResponse> chat(std::vector<Message> messages, std::vector<ToolDefinition> tools,
                                           std::optional<std::string> continuation) override;

  private:
    [[nodiscard]] Task<HttpResponse> exchange(HttpRequest request) const;

    const std::string model_;
    const std::string endpoint_;
    const std::shared_ptr<KeychainService> keychain_;
    HttpClient& http_;
    const Executor pool_;
};

}  // namespace velmora
