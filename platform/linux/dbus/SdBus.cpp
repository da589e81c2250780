#include "platform/linux/dbus/SdBus.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace velmora::sdbus {
namespace {

/// The errors that say that nobody was there to answer, or nobody who knows the question.
bool saysNobody(const sd_bus_error& error) {
    static constexpr std::array<const char*, 9> names{
        SD_BUS_ERROR_UNKNOWN_OBJECT,  SD_BUS_ERROR_UNKNOWN_INTERFACE, SD_BUS_ERROR_UNKNOWN_METHOD,
        SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY,
        SD_BUS_ERROR_TIMEOUT,         SD_BUS_ERROR_NO_SERVER,         SD_BUS_ERROR_DISCONNECTED};
    const std::string_view name = error.name ? error.name : "";
    constexpr std::string_view startFailed = "org.freedesktop.DBus.Error.Spawn.";
    return name.starts_with(startFailed) || std::ranges::find(names, name) != names.end();
}

}  // namespace

std::uint64_t microsecondsUntil(Deadline deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<std::uint64_t>(std::max<std::int64_t>(left.count(), 1));
}

Bus connect(int (*open)(sd_bus**), Deadline deadline) {
    sd_bus* opened = nullptr;
    Bus bus(open(&opened) >= 0 ? opened : nullptr);
    while (bus && sd_bus_is_ready(bus.get()) <= 0) {
        const int progress = sd_bus_process(bus.get(), nullptr);
        if (progress < 0 || std::chrono::steady_clock::now() >= deadline) return nullptr;
        if (progress == 0 && sd_bus_wait(bus.get(), microsecondsUntil(deadline)) < 0) return nullptr;
    }
    return bus;
}

Message methodCall(const Bus& bus, const char* destination, const std::string& path, const char* interface,
                   const char* member) {
    sd_bus_message* message = nullptr;
    const bool made =
        sd_bus_message_new_method_call(bus.get(), &message, destination, path.c_str(), interface, member) >= 0;
    return Message(made ? message : nullptr);
}

Outcome call(const Bus& bus, const Message& message, Deadline deadline, Message* reply) {
    if (!message) return Outcome::unavailable;
    sd_bus_error error{};
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(bus.get(), message.get(), microsecondsUntil(deadline), &error, &answer);
    const Message owned(answer);
    const bool isNobody = saysNobody(error);
    const bool isAnswer = sd_bus_error_is_set(&error) != 0;
    sd_bus_error_free(&error);
    if (result >= 0) {
        if (reply) reply->reset(sd_bus_message_ref(owned.get()));
        return Outcome::done;
    }
    return isAnswer && !isNobody ? Outcome::refused : Outcome::unavailable;
}

}  // namespace velmora::sdbus
