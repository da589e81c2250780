#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <xcb/xcb_ewmh.h>

#include <vector>

namespace velmora {

/// The window that the user works with, as the window manager tells; one of this process's own does not count, so that
/// the one that was active before it stays.
///
/// Runs on: the thread of `connection`. Fails with: nothing.
class X11ActiveWindow {
  public:
    explicit X11ActiveWindow(X11Connection& connection);
    ~X11ActiveWindow();
    X11ActiveWindow(const X11ActiveWindow&) = delete;
    X11ActiveWindow& operator=(const X11ActiveWindow&) = delete;

    /// To be called with every event of the connection.
    void handle(const xcb_generic_event_t& event);

    /// Asks for the window that is active now, if another has become so: once, however many have been meanwhile. False
    /// when there was nothing to ask.
    bool update();

    /// What it says to belong to (ICCCM, WM_CLASS): the class, then the instance. Empty when no window is active.
    [[nodiscard]] std::vector<std::string> classes();

  private:
    void look();

    X11Connection& connection_;
    xcb_ewmh_connection_t ewmh_{};
    bool isOutdated_ = false;           // another has become active since it was asked for
    bool isAny_ = false;                // whether any window is active, one of our own included
    std::vector<std::string> classes_;  // of the last that was not our own
};

}  // namespace velmora
