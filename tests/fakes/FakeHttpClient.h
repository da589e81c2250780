#pragma once

#include "platform/HttpClient.h"

namespace velmora::test {

/// A network that reaches nobody.
class FakeHttpClient final : public HttpClient {
  public:
    [[nodiscard]] Task<HttpResponse> send(HttpRequest) override {
        co_await throwIfCancelled();
        throw HttpError(HttpError::Kind::unreachable);
    }
};

}  // namespace velmora::test
