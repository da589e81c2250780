#include "platform/qt/X11WindowManager.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
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
constexpr std::uint32_t fromUser = 2;

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
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = XCB_NONE;
    xcb_atom_t compositor = XCB_NONE;
    xcb_atom_t tray = XCB_NONE;
    xcb_atom_t desktop = XCB_NONE;
    xcb_atom_t state = XCB_NONE;
    xcb_atom_t sticky = XCB_NONE;
    xcb_atom_t skipTaskbar = XCB_NONE;
    xcb_atom_t skipPager = XCB_NONE;
    xcb_atom_t activeWindow = XCB_NONE;
    xcb_atom_t frameExtents = XCB_NONE;

    explicit Display(xcb_connection_t* opened) : connection(opened) {
        const int number = screenNumber();
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
        for (int i = 0; i < number && screens.rem > 1; ++i)
            xcb_screen_next(&screens);
        root = screens.data->root;
        compositor = atom("_NET_WM_CM_S" + std::to_string(number));
        tray = atom("_NET_SYSTEM_TRAY_S" + std::to_string(number));
        desktop = atom("_NET_WM_DESKTOP");
        state = atom("_NET_WM_STATE");
        sticky = atom("_NET_WM_STATE_STICKY");
        skipTaskbar = atom("_NET_WM_STATE_SKIP_TASKBAR");
        skipPager = atom("_NET_WM_STATE_SKIP_PAGER");
        activeWindow = atom("_NET_ACTIVE_WINDOW");
        frameExtents = atom("_GTK_FRAME_EXTENTS");
    }

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

    void tellManager(xcb_window_t window, xcb_atom_t type, const std::array<std::uint32_t, 5>& data) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = type;
        std::copy(data.begin(), data.end(), event.data.data32);
        xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
    }
};

X11WindowManager::X11WindowManager() {
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && x11->connection()) display_ = std::make_unique<Display>(x11->connection());
}

X11WindowManager::~X11WindowManager() = default;

bool X11WindowManager::composited() const {
    if (!display_) return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return display_->isOwned(display_->compositor);
}

bool X11WindowManager::hasTray() const {
    return display_ && display_->isOwned(display_->tray);
}

void X11WindowManager::makePanel(Window window, const Edges& shadow) {
    if (!display_) return;
    const auto id = static_cast<xcb_window_t>(window);
    xcb_change_property(display_->connection, XCB_PROP_MODE_REPLACE, id, display_->desktop, XCB_ATOM_CARDINAL, 32, 1,
                        &allDesktops);
    const std::array<xcb_atom_t, 3> states{display_->sticky, display_->skipTaskbar, display_->skipPager};
    xcb_change_property(display_->connection, XCB_PROP_MODE_APPEND, id, display_->state, XCB_ATOM_ATOM, 32,
                        states.size(), states.data());
    const std::array<std::uint32_t, 4> edges{shadow.left, shadow.right, shadow.top, shadow.bottom};
    xcb_change_property(display_->connection, XCB_PROP_MODE_REPLACE, id, display_->frameExtents, XCB_ATOM_CARDINAL, 32,
                        edges.size(), edges.data());
}

void X11WindowManager::activate(Window window) {
    if (!display_) return;
    const auto id = static_cast<xcb_window_t>(window);
    display_->tellManager(id, display_->activeWindow, {fromUser, XCB_CURRENT_TIME, XCB_NONE, 0, 0});
    xcb_flush(display_->connection);
}

}  // namespace velmora
