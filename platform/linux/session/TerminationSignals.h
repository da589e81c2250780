#pragma once

#include "core/async/Async.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <functional>
#include <memory>
#include <thread>

namespace velmora {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread. A second signal ends the process at once, should
/// the orderly way take too long.
///
/// Runs on: the main thread; one for the process. A thread of its own waits for the signals, so that neither a busy
/// main thread nor a busy worker pool keeps the second one from its effect.
class TerminationSignals {
  public:
    TerminationSignals(MainExecutor main, std::function<void()> onSignal);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    std::shared_ptr<std::function<void()>> onSignal_;  // gone means that nobody is to be called any more
    boost::asio::io_context context_{1};
    boost::asio::signal_set signals_;
    std::thread thread_;
};

}  // namespace velmora
