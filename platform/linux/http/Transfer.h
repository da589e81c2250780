#pragma once

#include "core/async/Completion.h"
#include "platform/HttpClient.h"
#include "platform/linux/http/CurlLibrary.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// One request on its way, and whoever waits for the answer. Its libcurl handle refers to it: it does not move.
class Transfer {
  public:
    Transfer(HttpRequest request, const Completion<HttpResponse>& done);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// The handle, ready to be performed. Null when the request cannot be sent as it is.
    CURL* prepare(const CurlLibrary& curl);

    /// Tells whoever waits what became of it.
    void finish(CURLcode code);

    [[nodiscard]] CURL* handle() const { return handle_; }

    std::atomic<bool> isUnwanted = false;  ///< nobody waits any more

  private:
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* transfer) noexcept;
    std::size_t take(std::string_view piece);
    bool addHeaders();
    bool setUp(const std::string& url);

    HttpRequest request_;
    HttpResponse response_;
    std::vector<Secret> lines_;
    std::vector<curl_slist> list_;
    const CurlLibrary* curl_ = nullptr;
    CURL* handle_ = nullptr;  ///< made with `curl_`
    std::optional<Completion<HttpResponse>> done_;
};

}  // namespace velmora
