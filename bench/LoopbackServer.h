#pragma once

#include "bench/Measure.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace velmora::bench {

/// An HTTP server that does nothing but to answer, always the same and at once, or never.
class LoopbackServer {
  public:
    explicit LoopbackServer(const std::string& body)
        : answer_("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body),
          listening_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(listening_, generic, size) != 0 || listen(listening_, 4) != 0) std::abort();
        getsockname(listening_, generic, &size);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~LoopbackServer() {
        shutdown(listening_, SHUT_RDWR);
        thread_.join();
        close(listening_);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/v1/responses"; }

    std::atomic<bool> isSilent = false;
    std::atomic<int> requests = 0;
    std::atomic<double> gone = 0;  ///< when the last client left

  private:
    /// Clients one after the other, each until it leaves.
    void run() {
        for (int client = 0; (client = accept(listening_, nullptr, nullptr)) >= 0; close(client)) {
            while (takeRequest(client)) {
                ++requests;
                if (!isSilent) send(client, answer_.data(), answer_.size(), MSG_NOSIGNAL);
            }
            gone = now();
        }
    }

    static bool takeRequest(int client) {
        std::string request;
        std::size_t expected = std::string::npos;
        char buffer[65536];
        while (request.size() < expected) {
            const ssize_t count = recv(client, buffer, sizeof(buffer), 0);
            if (count <= 0) return false;
            request.append(buffer, static_cast<std::size_t>(count));
            const std::size_t end = request.find("\r\n\r\n");
            if (end == std::string::npos || expected != std::string::npos) continue;
            constexpr std::string_view name = "Content-Length: ";
            const char* const digits = request.data() + request.find(name) + name.size();
            std::from_chars(digits, request.data() + end, expected);
            expected += end + 4;
        }
        return true;
    }

    const std::string answer_;
    const int listening_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace velmora::bench
