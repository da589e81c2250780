#pragma once

#include "tests/platform/linux/ServerProcess.h"

#include <systemd/sd-bus.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::test {

constexpr const char* busVariables[] = {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"};

/// A message bus of the test's own, which counts as the session's and the system's, with one service on it that has
/// the names it is told to have.
class PrivateBus {
  public:
    /// What the service does with a call, on a thread of its own: as sd-bus's handlers, and what is to be remembered
    /// of the call beyond its path and member is appended to the text.
    using Answer = std::function<int(sd_bus_message* call, std::string& remembered)>;

    PrivateBus(const std::vector<std::string>& names, Answer answer) : answer_(std::move(answer)) {
        for (const char* const variable : busVariables)
            setenv(variable, daemon.line().c_str(), 1);
        serve(names);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() {
        stops_ = true;
        daemon.end();  // the server's thread waits for it where it is frozen
        server_.join();
        for (const char* const variable : busVariables)
            unsetenv(variable);
    }

    ServerProcess daemon{{"dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address"}};

    /// The calls so far, each as "path member" and what was remembered of it.
    std::vector<std::string> calls() {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

  private:
    void serve(const std::vector<std::string>& names) {
        sd_bus_open_user(&bus_);
        for (const std::string& name : names)
            sd_bus_request_name(bus_, name.c_str(), 0);
        sd_bus_add_fallback(bus_, nullptr, "/", &PrivateBus::handle, this);
        server_ = std::thread([this] {
            while (!stops_) {
                while (sd_bus_process(bus_, nullptr) > 0) {
                }
                sd_bus_wait(bus_, 10'000);
            }
            sd_bus_flush_close_unref(bus_);
        });
    }

    static int handle(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<PrivateBus*>(data);
        std::string call = std::string(sd_bus_message_get_path(message)) + " " + sd_bus_message_get_member(message);
        // Whoever has the answer finds the call remembered.
        const std::lock_guard lock(self.mutex_);
        const int result = self.answer_(message, call);
        self.calls_.push_back(call);
        return result;
    }

    const Answer answer_;
    sd_bus* bus_ = nullptr;
    std::atomic<bool> stops_ = false;
    std::thread server_;
    std::mutex mutex_;
    std::vector<std::string> calls_;
};

}  // namespace velmora::test
