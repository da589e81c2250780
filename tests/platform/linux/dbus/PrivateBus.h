#pragma once

#include "tests/fakes/TemporaryFolder.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::test {

constexpr const char* busVariables[] = {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"};

/// A bus, the session's and the system's, that takes connections and never says a word.
class SilentBus {
  public:
    SilentBus() {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        path_.copy(name.sun_path, sizeof name.sun_path - 1);
        if (bind(listener_, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 || listen(listener_, 8) != 0)
            throw std::runtime_error("no socket");
        for (const char* const variable : busVariables)
            setenv(variable, ("unix:path=" + path_).c_str(), 1);
    }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;
    ~SilentBus() {
        for (const char* const variable : busVariables)
            unsetenv(variable);
        close(listener_);
    }

  private:
    TemporaryFolder folder_;
    std::string path_ = folder_.path() + "/bus";
    int listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/// A message bus of the test's own, which counts as the session's and the system's, with one service on it that has
/// the names it is told to have.
class PrivateBus {
  public:
    /// What the service does with a call, on a thread of its own: as sd-bus's handlers, and what is to be remembered
    /// of the call beyond its path and member is appended to the text.
    using Answer = std::function<int(sd_bus_message* call, std::string& remembered)>;

    PrivateBus(const std::vector<std::string>& names, Answer answer) : answer_(std::move(answer)) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        daemon_ = fork();
        if (daemon_ == 0) {
            const std::string print = "--print-address=" + std::to_string(ends[1]);
            execl("/usr/bin/dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nosyslog", print.c_str(), nullptr);
            _exit(127);
        }
        close(ends[1]);
        char buffer[512];
        const ssize_t length = read(ends[0], buffer, sizeof buffer);
        close(ends[0]);
        if (length <= 0) throw std::runtime_error("no bus");
        std::string address(buffer, static_cast<std::size_t>(length));
        address.erase(address.find('\n'));
        for (const char* const variable : busVariables)
            setenv(variable, address.c_str(), 1);
        serve(names);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() {
        stops_ = true;
        server_.join();
        for (const char* const variable : busVariables)
            unsetenv(variable);
        kill(daemon_, SIGTERM);
        waitpid(daemon_, nullptr, 0);
    }

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
    pid_t daemon_ = 0;
    sd_bus* bus_ = nullptr;
    std::atomic<bool> stops_ = false;
    std::thread server_;
    std::mutex mutex_;
    std::vector<std::string> calls_;
};

}  // namespace velmora::test
