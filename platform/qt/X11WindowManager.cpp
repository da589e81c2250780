#include "platform/qt/X11WindowManager.h"

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

namespace velmora {
namespace {

template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
/// How a request says that it comes from the user directly; window managers do not hold those back.
constexpr auto fromUser = XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER;

/// The screen that DISPLAY names, ":0.1" being the second; the first where it names none.
int screenNumber() {
    char* host = nullptr;
    int display = 0;
    int screen = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) == 0) return 0;
    std::free(host);
    return screen;
}

}  // namespace

struct X11WindowManager::Display {
    xcb_connection_t* connection;
    int screen = 0;
    xcb_ewmh_connection_t ewmh{};
    // What the window managers' conventions lack.
    xcb_atom_t tray = XCB_NONE;
    xcb_atom_t frameExtents = XCB_NONE;

    explicit Display(xcb_connection_t* opened) : connection(opened) {
        xcb_ewmh_init_atoms_replies(&ewmh, xcb_ewmh_init_atoms(connection, &ewmh), nullptr);
        screen = std::clamp(screenNumber(), 0, std::max(ewmh.nb_screens - 1, 0));
        tray = atom("_NET_SYSTEM_TRAY_S" + std::to_string(screen));
        frameExtents = atom("_GTK_FRAME_EXTENTS");
    }
    ~Display() { xcb_ewmh_connection_wipe(&ewmh); }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    [[nodiscard]] xcb_atom_t atom(std::string_view name) const {
        const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
        const ReplyPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr),
                                                          &std::free);
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
    }

    [[nodiscard]] bool isOwned(xcb_atom_t selection) const {
        const auto cookie = xcb_get_selection_owner(connection, selection);
        const ReplyPointer<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(connection, cookie, nullptr), &std::free);
        return reply && reply->owner != XCB_NONE;
    }
};

X11WindowManager::X11WindowManager() {
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && x11->connection() && xcb_connection_has_error(x11->connection()) == 0)
        display_ = std::make_unique<Display>(x11->connection());
}

X11WindowManager::~X11WindowManager() = default;

bool X11WindowManager::composited() const {
    if (!display_) return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return display_->isOwned(display_->ewmh._NET_WM_CM_Sn[display_->screen]);
}

bool X11WindowManager::hasTray() const {
    return display_ && display_->isOwned(display_->tray);
}

void X11WindowManager::makePanel(Window window, const Edges& shadow) {
    if (!display_) return;
    const auto id = static_cast<xcb_window_t>(window);
    xcb_ewmh_connection_t& ewmh = display_->ewmh;
    xcb_ewmh_set_wm_desktop(&ewmh, id, allDesktops);
    // Beside the states that the toolkit has set.
    const std::array states{ewmh._NET_WM_STATE_STICKY, ewmh._NET_WM_STATE_SKIP_TASKBAR, ewmh._NET_WM_STATE_SKIP_PAGER};
    xcb_change_property(display_->connection, XCB_PROP_MODE_APPEND, id, ewmh._NET_WM_STATE, XCB_ATOM_ATOM, 32,
                        states.size(), states.data());
    const std::array<std::uint32_t, 4> edges{shadow.left, shadow.right, shadow.top, shadow.bottom};
    xcb_change_property(display_->connection, XCB_PROP_MODE_REPLACE, id, display_->frameExtents, XCB_ATOM_CARDINAL, 32,
                        edges.size(), edges.data());
}

void X11WindowManager::activate(Window window) {
    if (!display_) return;
    xcb_ewmh_request_change_active_window(&display_->ewmh, display_->screen, static_cast<xcb_window_t>(window),
                                          fromUser, XCB_CURRENT_TIME, XCB_NONE);
    xcb_flush(display_->connection);
}

}  // namespace velmora
