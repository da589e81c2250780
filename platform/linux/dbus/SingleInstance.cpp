#include "platform/linux/dbus/SingleInstance.h"

#include "platform/linux/dbus/SdBus.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace velmora {
namespace {

constexpr const char* busName = "dev.velmora.brisklane";
constexpr const char* objectPath = "/dev/velmora/brisklane";
constexpr const char* interfaceName = "org.freedesktop.Application";

int activate(sd_bus_message* call, void* owner, sd_bus_error*) {
    static_cast<SingleInstance*>(owner)->onShow();
    return sd_bus_reply_method_return(call, nullptr);
}

int answer(sd_bus_message* call, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(call, nullptr);
}

constexpr sd_bus_vtable methods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Activate", "a{sv}", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

/// Tells this program from others that have taken its name.
constexpr sd_bus_vtable ownMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Ping", "", "", answer, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

}  // namespace

struct SingleInstance::Question {
    /// On its own thread. `owner` is nobody to it but the one to call later.
    void ask(SingleInstance* owner) {
        sdbus::Bus opened = sdbus::connect(sd_bus_open_user, deadline);
        int reply = -ENOTCONN;
        // The object stands before the name, so that whoever sees the name can call it.
        if (opened && sd_bus_add_object_vtable(opened.get(), nullptr, objectPath, interfaceName, methods, owner) >= 0 &&
            sd_bus_add_object_vtable(opened.get(), nullptr, objectPath, busName, ownMethods, owner) >= 0) {
            sd_bus_set_method_call_timeout(opened.get(), sdbus::microsecondsUntil(deadline));
            reply = sd_bus_request_name(opened.get(), busName, 0);
        }
        const std::lock_guard lock(mutex);
        if (abandoned) return;  // a name that nobody listens to must not stay
        bus = std::move(opened);
        answer = reply >= 0 ? Role::first : reply == -EEXIST ? Role::second : Role::alone;
        answered.notify_all();
    }

    const sdbus::Deadline deadline = std::chrono::steady_clock::now() + timeout;
    std::mutex mutex;
    std::condition_variable answered;
    Role answer = Role::unknown;
    bool abandoned = false;
    sdbus::Bus bus;
};

SingleInstance::SingleInstance() : question_(std::make_shared<Question>()) {
    std::thread([this, question = question_] { question->ask(this); }).detach();
}

SingleInstance::~SingleInstance() {
    const std::lock_guard lock(question_->mutex);
    question_->abandoned = true;
}

SingleInstance::Role SingleInstance::role(std::chrono::milliseconds atMost) {
    if (role_ != Role::unknown) return role_;
    std::unique_lock lock(question_->mutex);
    const auto until = std::min(std::chrono::steady_clock::now() + atMost, question_->deadline);
    question_->answered.wait_until(lock, until, [this] { return question_->answer != Role::unknown; });
    role_ = question_->answer;
    if (role_ == Role::unknown && std::chrono::steady_clock::now() >= question_->deadline) {
        question_->abandoned = true;
        role_ = Role::alone;
    }
    return role_;
}

bool SingleInstance::reachFirst(bool show) {
    const sdbus::Bus& bus = question_->bus;
    const sdbus::Message call = show ? sdbus::methodCall(bus, busName, objectPath, interfaceName, "Activate")
                                     : sdbus::methodCall(bus, busName, objectPath, busName, "Ping");
    if (!call || (show && sd_bus_message_append(call.get(), "a{sv}", 0) < 0)) return false;
    return sdbus::call(bus, call, question_->deadline) == sdbus::Outcome::done;
}

void SingleInstance::release() {
    if (role_ != Role::first) return;
    sd_bus_release_name_async(question_->bus.get(), nullptr, busName, nullptr, nullptr);
    sd_bus_flush(question_->bus.get());
}

int SingleInstance::descriptor() const {
    return role_ == Role::first ? sd_bus_get_fd(question_->bus.get()) : -1;
}

bool SingleInstance::process() {
    for (;;) {
        const int answer = sd_bus_process(question_->bus.get(), nullptr);
        if (answer <= 0) return answer == 0;
    }
}

}  // namespace velmora
