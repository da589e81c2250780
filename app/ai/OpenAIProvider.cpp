#include "app/ai/OpenAIProvider.h"

#include "app/ai/ResponsesFormat.h"
#include "app/log/AppLog.h"
#include "app/services/KeychainService.h"
#include "core/AppError.h"
#include "platform/HttpClient.h"

#include <exception>
#include <utility>

namespace velmora {
namespace {

constexpr const char* publishedEndpoint = "https://api.openai.com/v1/responses";
constexpr std::chrono::seconds requestTimeout{60};
constexpr std::size_t maximumBodyBytes = 7'999'999;

AppError errorOf(const HttpError& failure) {
    if (failure.kind() == HttpError::Kind::notHttp)
        return AppError::network("The AI provider returned an invalid response.");
    return AppError::network("Could not reach the AI provider. Check your connection.");
}

void check(const HttpResponse& response) {
    if (response.status < 200 || response.status > 299) {
        if (response.status == 401 || response.status == 403)
            throw AppError::configuration("The provider rejected your API key or model access.");
        if (response.status == 429) throw AppError::network("The provider rate limit or account quota was reached.");
        throw AppError::network("The AI request failed (HTTP " + std::to_string(response.status) +
                                "). Check the model in Settings.");
    }
    if (response.isTooLarge) throw AppError::network("The AI response is too large.");
}

}  // namespace

std::string responsesEndpoint(std::string_view named) {
    if (named.empty()) return publishedEndpoint;
    std::string permitted = HttpClient::permittedAddress(named);
    if (permitted.empty()) {
        AppLog::app.error(
            "VELMORA_RESPONSES_URL is refused, and Ask AI is off: it has to be an https address, or an "
            "http address of this machine");
    }
    return permitted;
}

OpenAIProvider::OpenAIProvider(std::string model, std::string endpoint, std::shared_ptr<KeychainService> keychain,
                               HttpClient& http, Executor pool)
    : model_(std::move(model)),
      endpoint_(std::move(endpoint)),
      keychain_(std::move(keychain)),
      http_(http),
      pool_(std::move(pool)) {}

Task<ModelResponse> OpenAIProvider::chat(std::vector<Message> messages, std::vector<ToolDefinition> tools,
                                         std::optional<std::string> continuation) {
    std::optional<Secret> key = co_await keychain_->get(std::string(apiKeyAccount));
    if (!key || key->empty()) throw AppError::configuration("Add your API key in Settings → AI first.");
    HttpRequest request;
    request.url = endpoint_;
    request.headers = {"Content-Type: application/json"};
    request.authorization = Secret("Bearer ", key->view());
    request.timeout = requestTimeout;
    request.maximumBodyBytes = maximumBodyBytes;
    key.reset();
    Actor worker(pool_);
    std::string inputItems;
    const auto encode = [&] {
        inputItems = responses::inputItems(continuation, messages);
        request.body = responses::body(model_, tools, inputItems);
    };
    co_await worker.run(encode);
    continuation.reset();
    HttpResponse response = co_await exchange(std::move(request));
    check(response);
    const auto decode = [&] { return responses::answer(std::move(response.body), tools, std::move(inputItems)); };
    co_return co_await worker.run(decode);
}

Task<HttpResponse> OpenAIProvider::exchange(HttpRequest request) const {
    std::exception_ptr failure;
    try {
        co_return co_await http_.send(std::move(request));
    } catch (const HttpError& error) {
        failure = std::make_exception_ptr(errorOf(error));
    }
    co_await throwIfCancelled();
    std::rethrow_exception(failure);
}

}  // namespace velmora
