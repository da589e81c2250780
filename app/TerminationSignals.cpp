#include "app/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <system_error>

namespace velmora {
namespace {

constexpr std::array signals{SIGTERM, SIGINT, SIGHUP};

volatile int writeEnd = -1;  // read by the signal handler

void onSignal(int) {
    const int saved = errno;
    const char byte = 0;
    static_cast<void>(::write(writeEnd, &byte, 1) == 1);
    errno = saved;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignalGiven) : onSignal_(std::move(onSignalGiven)) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe for signals");
    }
    readEnd_ = ends[0];
    writeEnd = ends[1];
    notifier_ = std::make_unique<QSocketNotifier>(readEnd_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        char byte = 0;
        if (::read(readEnd_, &byte, 1) == 1) onSignal_();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : signals)
        ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : signals)
        std::signal(signal, SIG_DFL);
    notifier_.reset();
    ::close(readEnd_);
    ::close(writeEnd);
}

}  // namespace velmora
