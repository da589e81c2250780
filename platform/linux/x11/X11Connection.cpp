#include "platform/linux/x11/X11Connection.h"

#include <poll.h>

#include <algorithm>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// How soon a wait notices that it is to stop.
constexpr auto slice = 50ms;

/// Milliseconds of work; other programs can send them faster than they are handled.
constexpr int eventsAtOnce = 10'000;

}  // namespace

X11Connection::X11Connection(const std::string& display) {
    connection_ = xcb_connect(display.empty() ? nullptr : display.c_str(), &screen_);
    if (!isHealthy()) return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    screen_ = std::clamp(screen_, 0, screens.rem - 1);
    for (int i = 0; i < screen_; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
}

X11Connection::~X11Connection() {
    xcb_disconnect(connection_);
}

bool X11Connection::isHealthy() const {
    return xcb_connection_has_error(connection_) == 0;
}

int X11Connection::descriptor() const {
    return xcb_get_file_descriptor(connection_);
}

std::vector<xcb_atom_t> X11Connection::atoms(const std::vector<std::string_view>& names) const {
    std::vector<xcb_intern_atom_cookie_t> asked;
    asked.reserve(names.size());
    for (const std::string_view name : names)
        asked.push_back(xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    std::vector<xcb_atom_t> found;
    found.reserve(names.size());
    for (const auto cookie : asked) {
        const auto reply = xcbOwned(xcb_intern_atom_reply(connection_, cookie, nullptr));
        found.push_back(reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE));
    }
    return found;
}

XcbPointer<xcb_get_property_reply_t> X11Connection::property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                                                             std::size_t maximumBytes) const {
    const auto words = static_cast<std::uint32_t>(maximumBytes / 4 + 1);
    const auto cookie = xcb_get_property(connection_, 0, window, name, type, 0, words);
    return xcbOwned(xcb_get_property_reply(connection_, cookie, nullptr));
}

X11Connection::Event X11Connection::poll() {
    auto event = xcbOwned(xcb_poll_for_event(connection_));
    if (event) onEvent(*event);
    return event;
}

bool X11Connection::handlePending() {
    int handled = 0;
    while (handled < eventsAtOnce && poll())
        ++handled;
    xcb_flush(connection_);
    return handled == eventsAtOnce;
}

X11Connection::Event X11Connection::next(Deadline deadline, const std::stop_token& stop) {
    for (;;) {
        // Before the events, which may never end.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (!isHealthy() || stop.stop_requested() || left <= 0ms) return xcbOwned<xcb_generic_event_t>(nullptr);
        if (auto event = poll()) return event;
        xcb_flush(connection_);
        pollfd readable{descriptor(), POLLIN, 0};
        ::poll(&readable, 1, static_cast<int>(std::min(left, std::chrono::milliseconds(slice)).count()));
    }
}

}  // namespace velmora
