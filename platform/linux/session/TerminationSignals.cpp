#include "platform/linux/session/TerminationSignals.h"

#include <boost/asio/post.hpp>

#include <csignal>
#include <utility>

namespace asio = boost::asio;

namespace velmora {

TerminationSignals::TerminationSignals(MainExecutor main, std::function<void()> onSignal)
    : onSignal_(std::make_shared<std::function<void()>>(std::move(onSignal))),
      signals_(context_, SIGTERM, SIGINT, SIGHUP) {
    const auto handle = [this, main = std::move(main), weak = std::weak_ptr(onSignal_)](
                            const boost::system::error_code& error, int) {
        if (error) return;
        signals_.clear();  // from here on each of them has its default effect
        asio::post(main, [weak] {
            if (const auto callback = weak.lock()) (*callback)();
        });
    };
    signals_.async_wait(handle);
    thread_ = std::thread([this] { context_.run(); });
}

TerminationSignals::~TerminationSignals() {
    context_.stop();
    thread_.join();
}

}  // namespace velmora
