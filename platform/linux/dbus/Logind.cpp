#include "platform/linux/dbus/Logind.h"

#include "platform/linux/dbus/SdBus.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <optional>

namespace velmora {
namespace {

constexpr const char* service = "org.freedesktop.login1";
constexpr const char* manager = "org.freedesktop.login1.Manager";
constexpr const char* session = "org.freedesktop.login1.Session";
const std::string managerPath = "/org/freedesktop/login1";

SessionAnswer answerOf(sdbus::Outcome outcome) {
    switch (outcome) {
        case sdbus::Outcome::done:
            return SessionAnswer::accepted;
        case sdbus::Outcome::refused:
            return SessionAnswer::refused;
        case sdbus::Outcome::unavailable:
            break;
    }
    return SessionAnswer::unavailable;
}

sdbus::Deadline deadlineAfter(std::chrono::milliseconds timeout) {
    return std::chrono::steady_clock::now() + timeout;
}

/// The object that a call which looks for a session answers with.
std::optional<std::string> foundSession(const sdbus::Bus& bus, const sdbus::Message& call, sdbus::Deadline deadline) {
    sdbus::Message reply;
    const char* path = nullptr;
    if (sdbus::call(bus, call, deadline, &reply) != sdbus::Outcome::done) return std::nullopt;
    if (sd_bus_message_read(reply.get(), "o", &path) <= 0) return std::nullopt;
    return path;
}

/// The session this process is in: as its environment has it, else as logind knows it. A program that a service
/// manager started is in none; then logind's own notion of the caller's session is the nearest.
std::string ownSession(const sdbus::Bus& bus, sdbus::Deadline deadline) {
    const char* const id = std::getenv("XDG_SESSION_ID");
    if (id && *id) {
        const auto call = sdbus::methodCall(bus, service, managerPath, manager, "GetSession");
        if (call && sd_bus_message_append(call.get(), "s", id) >= 0) {
            if (const auto found = foundSession(bus, call, deadline)) return *found;
        }
    }
    const auto call = sdbus::methodCall(bus, service, managerPath, manager, "GetSessionByPID");
    if (call && sd_bus_message_append(call.get(), "u", static_cast<std::uint32_t>(getpid())) >= 0) {
        if (const auto found = foundSession(bus, call, deadline)) return *found;
    }
    return managerPath + "/session/auto";
}

SessionAnswer suspend(std::chrono::milliseconds timeout) {
    const sdbus::Deadline deadline = deadlineAfter(timeout);
    const sdbus::Bus bus = sdbus::connect(sd_bus_open_system, deadline);
    if (!bus) return SessionAnswer::unavailable;
    const sdbus::Message call = sdbus::methodCall(bus, service, managerPath, manager, "Suspend");
    if (!call || sd_bus_message_append(call.get(), "b", 0) < 0) return SessionAnswer::unavailable;
    return answerOf(sdbus::call(bus, call, deadline));
}

SessionAnswer lockBySession(std::chrono::milliseconds timeout) {
    const sdbus::Deadline deadline = deadlineAfter(timeout);
    const sdbus::Bus bus = sdbus::connect(sd_bus_open_system, deadline);
    if (!bus) return SessionAnswer::unavailable;
    const std::string path = ownSession(bus, deadline);
    return answerOf(sdbus::call(bus, sdbus::methodCall(bus, service, path, session, "Lock"), deadline));
}

SessionAnswer lockByScreenSaver(std::chrono::milliseconds timeout) {
    const sdbus::Deadline deadline = deadlineAfter(timeout);
    const sdbus::Bus bus = sdbus::connect(sd_bus_open_user, deadline);
    if (!bus) return SessionAnswer::unavailable;
    return answerOf(sdbus::call(bus,
                                sdbus::methodCall(bus, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                                  "org.freedesktop.ScreenSaver", "Lock"),
                                deadline));
}

SessionAnswer lockScreen(std::chrono::milliseconds timeout) {
    const SessionAnswer first = lockBySession(timeout);
    if (first == SessionAnswer::accepted) return first;
    const SessionAnswer second = lockByScreenSaver(timeout);
    // A refusal says more than that nobody was there.
    return second == SessionAnswer::unavailable ? first : second;
}

}  // namespace

Task<SessionAnswer> LogindPower::sleep() {
    Actor worker(pool_);
    const auto work = [timeout = timeout_] { return suspend(timeout); };
    co_return co_await worker.run(work);
}

Task<SessionAnswer> LogindScreenLock::lock() {
    Actor worker(pool_);
    const auto work = [timeout = timeout_] { return lockScreen(timeout); };
    co_return co_await worker.run(work);
}

}  // namespace velmora
