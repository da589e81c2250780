#include "platform/linux/x11/X11ActiveWindow.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

constexpr std::size_t maximumClassBytes = 1024;

/// The class and the instance out of WM_CLASS, which is the instance, a NUL, the class and a NUL. Of a property that
/// lacks the NULs, as any program may set one, libxcb-icccm hands out text beyond its end.
std::vector<std::string> classesIn(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 8) return {};
    const std::string_view bytes(static_cast<const char*>(xcb_get_property_value(reply)),
                                 static_cast<std::size_t>(xcb_get_property_value_length(reply)));
    const std::size_t end = std::min(bytes.find('\0'), bytes.size());
    const std::string_view rest = bytes.substr(std::min(end + 1, bytes.size()));
    std::vector<std::string> classes;
    for (const std::string_view name : {rest.substr(0, rest.find('\0')), bytes.substr(0, end)}) {
        if (!name.empty()) classes.emplace_back(name);
    }
    return classes;
}

}  // namespace

X11ActiveWindow::X11ActiveWindow(X11Connection& connection) : connection_(connection) {
    // The library takes no connection that has broken.
    if (!connection_.isHealthy()) return;
    xcb_intern_atom_cookie_t* const atoms = xcb_ewmh_init_atoms(connection_.get(), &ewmh_);
    if (xcb_ewmh_init_atoms_replies(&ewmh_, atoms, nullptr) == 0) return;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_EVENT_MASK, &events);
    look();
}

X11ActiveWindow::~X11ActiveWindow() {
    xcb_ewmh_connection_wipe(&ewmh_);
}

void X11ActiveWindow::handle(const xcb_generic_event_t& event) {
    if (kindOf(event) != XCB_PROPERTY_NOTIFY) return;
    const auto change = eventAs<xcb_property_notify_event_t>(event);
    if (change.window == connection_.root() && change.atom == ewmh_._NET_ACTIVE_WINDOW) isOutdated_ = true;
}

bool X11ActiveWindow::update() {
    if (!std::exchange(isOutdated_, false)) return false;
    look();
    return true;
}

std::vector<std::string> X11ActiveWindow::classes() {
    update();
    return isAny_ ? classes_ : std::vector<std::string>();
}

void X11ActiveWindow::look() {
    xcb_window_t window = XCB_NONE;
    const auto active = xcb_ewmh_get_active_window(&ewmh_, connection_.screen());
    xcb_ewmh_get_active_window_reply(&ewmh_, active, &window, nullptr);
    // Between two windows there is often none for a moment.
    isAny_ = window != XCB_NONE;
    if (!isAny_) return;
    std::uint32_t process = 0;
    xcb_ewmh_get_wm_pid_reply(&ewmh_, xcb_ewmh_get_wm_pid(&ewmh_, window), &process, nullptr);
    if (std::cmp_equal(process, getpid())) return;
    const auto names = connection_.property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, maximumClassBytes);
    classes_ = classesIn(names.get());
}

}  // namespace velmora
