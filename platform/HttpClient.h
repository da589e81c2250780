#pragma once

#include "core/async/Async.h"
#include "core/text/Secret.h"

#include <chrono>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

struct HttpRequest {
    std::string method = "POST";
    std::string url;
    std::vector<std::string> headers;  ///< lines: "Content-Type: application/json"
    Secret authorization;              ///< the value of the header "Authorization"; none when empty
    std::string body;
    std::chrono::milliseconds timeout{60'000};  ///< from the start to the last byte
    std::size_t maximumBodyBytes = 0;           ///< of the answer
};

struct HttpResponse {
    int status = 0;
    std::string body;
    bool isTooLarge = false;  ///< the body went on beyond the limit; what is here is only its beginning
};

/// Why there is no answer. The words are for developers.
class HttpError final : public std::exception {
  public:
    enum class Kind {
        unreachable,  ///< no connection, none that is safe, or one that broke off; or time was up
        notHttp,      ///< what answered speaks something else
    };

    explicit HttpError(Kind kind) : kind_(kind) {}
    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] const char* what() const noexcept override { return "The server could not be asked."; }

  private:
    Kind kind_;
};

/// Requests to servers.
///
/// HTTPS with the certificate checked; unencrypted only to this machine, and then never through a proxy. Otherwise
/// proxies are the environment's. Redirects are answers, not followed. Nothing of a request or an answer is logged.
///
/// Runs on: any task. Must outlive the tasks. Fails with: `HttpError`; `Cancelled` as soon as the caller is cancelled,
/// the connection is then closed.
class HttpClient {
  public:
    virtual ~HttpClient() = default;

    [[nodiscard]] virtual Task<HttpResponse> send(HttpRequest request) = 0;

    /// The address in the form in which it is sent to; empty when nothing is sent there: it is no address, of another
    /// scheme than https, or http and not on this machine (127.0.0.0/8, ::1, localhost).
    [[nodiscard]] static std::string permittedAddress(std::string_view url);
};

}  // namespace velmora
