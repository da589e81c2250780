#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

/// Owners for sd-bus's counted things, and calls that end in time. Blocks; runs on: worker threads.
namespace velmora::sdbus {

/// Closed without waiting for what is still to be sent: whoever calls has its answer by then.
struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct UnrefMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;
using Message = std::unique_ptr<sd_bus_message, UnrefMessage>;
using Deadline = std::chrono::steady_clock::time_point;

/// At least one: the library takes 0 for its own default.
std::uint64_t microsecondsUntil(Deadline deadline);

/// The connection that `open` (`sd_bus_open_user`, `sd_bus_open_system`) makes, ready for calls. None when there is no
/// bus, or one that does not greet back before the deadline: by itself the library would wait for minutes.
Bus connect(int (*open)(sd_bus**), Deadline deadline);

/// None when a name is not valid.
Message methodCall(const Bus& bus, const char* destination, const std::string& path, const char* interface,
                   const char* member);

enum class Outcome { done, refused, unavailable };

/// Calls and waits for the answer until the deadline. `refused` when the answer is an error; `unavailable` when there
/// was no message, nobody of that name who knows the call, or no answer. `reply`, where given, becomes the answer.
Outcome call(const Bus& bus, const Message& message, Deadline deadline, Message* reply = nullptr);

}  // namespace velmora::sdbus
