#pragma once

#include <cstdint>

namespace velmora {

/// What the palette asks of the desktop's window manager beyond what the toolkit can ask.
///
/// Runs on: the main thread. Fails with: nothing; what a desktop does not offer is left out.
class WindowManager {
  public:
    /// A top-level window of ours, by the window system's own number.
    using Window = std::uint64_t;

    virtual ~WindowManager() = default;

    /// Whether windows may be translucent now. It changes when a compositor starts or ends.
    [[nodiscard]] virtual bool composited() const = 0;

    /// Whether there is a tray for status items that needs no message bus.
    [[nodiscard]] virtual bool hasTray() const = 0;

    /// The width of the shadow that a window draws inside itself, in device pixels.
    struct Edges {
        std::uint32_t left = 0;
        std::uint32_t right = 0;
        std::uint32_t top = 0;
        std::uint32_t bottom = 0;
    };

    /// Puts a window that is about to be shown on every workspace and keeps it out of task bars and window switchers;
    /// its shadow counts as outside of it.
    virtual void makePanel(Window window, const Edges& shadow) = 0;

    /// Brings a shown window to the front with the keyboard focus, as the user asked for it just now.
    virtual void activate(Window window) = 0;
};

}  // namespace velmora
