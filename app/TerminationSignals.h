#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace velmora {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread. A second signal ends the process at once, should
/// the orderly way take too long.
///
/// Runs on: the main thread; one for the process.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> onSignal);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    std::function<void()> onSignal_;
    int readEnd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velmora
