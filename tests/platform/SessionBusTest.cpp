#include "platform/linux/SessionBus.h"

#include "tests/platform/LaunchFixture.h"

#include <sys/wait.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

/// A session bus of the test's own, on which an application and a service manager live.
class PrivateBus {
  public:
    PrivateBus() {
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
        address_.assign(buffer, static_cast<std::size_t>(length));
        address_.erase(address_.find('\n'));
        setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
        serve();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() {
        stops_ = true;
        server_.join();
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        kill(daemon_, SIGTERM);
        waitpid(daemon_, nullptr, 0);
    }

    /// The calls so far, each as "path member", with the address or the unit that came with it.
    Texts calls() {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

    std::atomic<bool> refuses = false;

  private:
    void serve() {
        sd_bus_open_user(&bus_);
        sd_bus_request_name(bus_, "org.example.Probe-App", 0);
        sd_bus_request_name(bus_, "org.freedesktop.systemd1", 0);
        sd_bus_add_fallback(bus_, nullptr, "/", &PrivateBus::answer, this);
        server_ = std::thread([this] {
            while (!stops_) {
                while (sd_bus_process(bus_, nullptr) > 0) {
                }
                sd_bus_wait(bus_, 10'000);
            }
            sd_bus_flush_close_unref(bus_);
        });
    }

    static int answer(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<PrivateBus*>(data);
        const std::string member = sd_bus_message_get_member(message);
        std::string call = std::string(sd_bus_message_get_path(message)) + " " + member;
        const char* text = nullptr;
        if (member == "Open") {
            sd_bus_message_enter_container(message, 'a', "s");
            if (sd_bus_message_read(message, "s", &text) > 0) call += std::string(" ") + text;
        }
        if (member == "StartTransientUnit" && sd_bus_message_read(message, "s", &text) > 0) {
            call += " " + std::string(text).substr(0, std::string(text).rfind('-'));
        }
        {
            const std::lock_guard lock(self.mutex_);
            self.calls_.push_back(call);
        }
        if (self.refuses) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no");
        return sd_bus_reply_method_return(message, nullptr);
    }

    pid_t daemon_ = 0;
    std::string address_;
    sd_bus* bus_ = nullptr;
    std::atomic<bool> stops_ = false;
    std::thread server_;
    std::mutex mutex_;
    Texts calls_;
};

class SessionBusTest : public test::LaunchFixture {
  protected:
    std::string activatable(const std::string& id) { return entry("Exec=probe %U\nDBusActivatable=true\n", id); }
};

const std::string unit = "/org/freedesktop/systemd1 StartTransientUnit app-velmora-";

TEST_F(SessionBusTest, ActivatesApplicationsThatTakePart) {
    PrivateBus bus;
    launch(activatable("org.example.Probe-App"));
    EXPECT_EQ(bus.calls(), Texts{"/org/example/Probe_App Activate"});
    SessionBus::activate("org.example.Probe-App", {"file:///a%20b"});
    EXPECT_EQ(bus.calls().back(), "/org/example/Probe_App Open file:///a%20b");
    EXPECT_FALSE(std::filesystem::exists(probe + ".report"));
    bus.refuses = true;
    EXPECT_THROW(launch(activatable("org.example.Probe-App")), std::runtime_error);
}

TEST_F(SessionBusTest, RunsTheProgramWhenItHasArgumentsOrNobodyAnswers) {
    PrivateBus bus;
    EXPECT_EQ(launched(activatable("org.example.Probe-App"), {"--new-window"}).arguments, Texts{"--new-window"});
    EXPECT_EQ(launched(activatable("org.example.Absent")).arguments, Texts{});
    EXPECT_EQ(launched(activatable("not a bus name")).arguments, Texts{});
    EXPECT_EQ(bus.calls(), (Texts{unit + "org.example.Probe\\x2dApp", unit + "org.example.Absent",
                                  unit + "not\\x20a\\x20bus\\x20name"}))
        << "each program gets a scope of its own";
    bus.refuses = true;
    EXPECT_EQ(launched(entry("Exec=probe\n")).arguments, Texts{}) << "without a scope it runs all the same";
}

}  // namespace
}  // namespace velmora
