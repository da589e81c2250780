#include "platform/linux/dbus/SessionName.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>

namespace velmora {
namespace {

constexpr const char* busName = "dev.velmora.brisklane";
constexpr const char* objectPath = "/dev/velmora/brisklane";
constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr std::uint64_t timeoutMicroseconds = 2'000'000;

}  // namespace

struct SessionName::Bus {
    ~Bus() {
        sd_bus_slot_unref(object);
        sd_bus_flush_close_unref(connection);
    }

    static int activate(sd_bus_message* call, void* owner, sd_bus_error*) {
        static_cast<SessionName*>(owner)->onShow();
        return sd_bus_reply_method_return(call, nullptr);
    }

    sd_bus* connection = nullptr;
    sd_bus_slot* object = nullptr;
};

SessionName::SessionName() : bus_(std::make_unique<Bus>()) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Activate", "a{sv}", "", &Bus::activate, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    sd_bus*& connection = bus_->connection;
    if (sd_bus_open_user_with_description(&connection, busName) < 0) return;
    sd_bus_set_method_call_timeout(connection, timeoutMicroseconds);
    // The object stands before the name, so that whoever sees the name can call it.
    if (sd_bus_add_object_vtable(connection, &bus_->object, objectPath, interfaceName, methods, this) < 0) return;
    const int answer = sd_bus_request_name(connection, busName, 0);
    if (answer >= 0) {
        role_ = Role::first;
    } else if (answer == -EEXIST) {
        role_ = Role::second;
    }
}

SessionName::~SessionName() = default;

bool SessionName::showFirst() {
    return sd_bus_call_method(bus_->connection, busName, objectPath, interfaceName, "Activate", nullptr, nullptr,
                              "a{sv}", 0) >= 0;
}

int SessionName::descriptor() const {
    return role_ == Role::first ? sd_bus_get_fd(bus_->connection) : -1;
}

bool SessionName::process() {
    for (;;) {
        const int answer = sd_bus_process(bus_->connection, nullptr);
        if (answer <= 0) return answer == 0;
    }
}

}  // namespace velmora
