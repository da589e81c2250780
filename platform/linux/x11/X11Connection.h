#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// What XCB hands out and wants freed.
template <class Reply>
using XcbPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <class Reply>
XcbPointer<Reply> xcbOwned(Reply* reply) {
    return {reply, &std::free};
}

/// What an event is, whether the server or a program sent it.
inline std::uint8_t kindOf(const xcb_generic_event_t& event) {
    return event.response_type & 0x7FU;
}

/// The event as the kind that it is.
template <class Event>
Event eventAs(const xcb_generic_event_t& event) {
    static_assert(sizeof(Event) <= sizeof(event));
    Event particular{};
    std::memcpy(&particular, &event, sizeof(particular));
    return particular;
}

/// A connection to an X server that may wait: not for the main thread.
///
/// Runs on: one thread. Owns: the connection. Fails with: nothing; a connection that has broken answers nothing.
class X11Connection {
  public:
    using Event = XcbPointer<xcb_generic_event_t>;
    using Deadline = std::chrono::steady_clock::time_point;

    /// Connects to `display`, or to the one that the environment names when it is empty.
    explicit X11Connection(const std::string& display);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    [[nodiscard]] bool isHealthy() const;
    [[nodiscard]] xcb_connection_t* get() const { return connection_; }
    [[nodiscard]] int screen() const { return screen_; }
    [[nodiscard]] xcb_window_t root() const { return root_; }
    [[nodiscard]] int descriptor() const;

    /// The server's number for each of the names.
    [[nodiscard]] std::vector<xcb_atom_t> atoms(const std::vector<std::string_view>& names) const;

    /// The value of a window's property, at most `maximumBytes` of it and a few more; of any type when `type` is none.
    [[nodiscard]] XcbPointer<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                                                                std::size_t maximumBytes) const;

    /// Called for every event, whoever waits for it.
    std::function<void(const xcb_generic_event_t&)> onEvent = [](const xcb_generic_event_t&) {};

    /// Handles what has arrived, or a good deal of it; true when there may be more.
    bool handlePending();

    /// Waits for the next event, after it was handled; none after the deadline, a stop, or the end of the connection.
    [[nodiscard]] Event next(Deadline deadline, const std::stop_token& stop);

  private:
    [[nodiscard]] Event poll();

    xcb_connection_t* connection_;
    int screen_ = 0;  // the number of the one that the display's name chooses
    xcb_window_t root_ = XCB_NONE;
};

}  // namespace velmora
