#include "platform/linux/x11/X11ActiveWindow.h"

#include <unistd.h>

#include <cstring>

namespace velmora {
namespace {

constexpr std::size_t maximumClassBytes = 1024;

/// The number that a property holds; nothing when it holds none.
std::optional<std::uint32_t> numberIn(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 32 || reply->value_len == 0) return std::nullopt;
    std::uint32_t number = 0;
    std::memcpy(&number, xcb_get_property_value(reply), sizeof(number));
    return number;
}

/// The class and the instance out of WM_CLASS, which is the instance, a NUL, the class and a NUL.
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
    const auto atoms = connection_.atoms({"_NET_ACTIVE_WINDOW", "_NET_WM_PID"});
    activeWindow_ = atoms[0];
    processId_ = atoms[1];
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_EVENT_MASK, &events);
    look();
}

void X11ActiveWindow::handle(const xcb_generic_event_t& event) {
    if (kindOf(event) != XCB_PROPERTY_NOTIFY) return;
    const auto change = eventAs<xcb_property_notify_event_t>(event);
    if (change.window == connection_.root() && change.atom == activeWindow_) look();
}

std::vector<std::string> X11ActiveWindow::classes() const {
    return isAny_ ? classes_ : std::vector<std::string>();
}

void X11ActiveWindow::look() {
    const auto active = connection_.property(connection_.root(), activeWindow_, XCB_ATOM_WINDOW, sizeof(xcb_window_t));
    const xcb_window_t window = numberIn(active.get()).value_or(XCB_NONE);
    // Between two windows there is often none for a moment.
    isAny_ = window != XCB_NONE;
    if (!isAny_) return;
    const auto process = connection_.property(window, processId_, XCB_ATOM_CARDINAL, sizeof(std::uint32_t));
    if (numberIn(process.get()) == static_cast<std::uint32_t>(getpid())) return;
    const auto names = connection_.property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, maximumClassBytes);
    classes_ = classesIn(names.get());
}

}  // namespace velmora
