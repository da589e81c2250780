#pragma once

#include "platform/HttpClient.h"

#include <memory>

namespace velmora {

/// HTTP/1.1 with libcurl, on one thread, which begins with the first request and sleeps while nothing happens.
class CurlHttpClient final : public HttpClient {
  public:
    CurlHttpClient();
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    [[nodiscard]] Task<HttpResponse> send(HttpRequest request) override;

    /// Ends the thread. Whoever waits for an answer goes on with `Cancelled`, and so does whoever asks later.
    void stop();

  private:
    class Worker;
    std::shared_ptr<Worker> worker_;
};

}  // namespace velmora
