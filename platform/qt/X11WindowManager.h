#pragma once

#include "platform/WindowManager.h"

#include <memory>

namespace velmora {

/// The window manager of an X11 session, where there is one; on Wayland, where the compositor decides by itself, only
/// the answers.
class X11WindowManager final : public WindowManager {
  public:
    X11WindowManager();
    ~X11WindowManager() override;
    X11WindowManager(const X11WindowManager&) = delete;
    X11WindowManager& operator=(const X11WindowManager&) = delete;

    [[nodiscard]] bool composited() const override;
    [[nodiscard]] bool hasTray() const override;
    void makePanel(Window window, const Edges& shadow) override;
    void activate(Window window) override;

  private:
    struct Display;
    std::unique_ptr<Display> display_;  // none: not X11
};

}  // namespace velmora
