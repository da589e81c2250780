#pragma once

#include "platform/WindowManager.h"

#include <vector>

namespace velmora::test {

/// A desktop that remembers what it was asked.
class FakeWindowManager final : public WindowManager {
  public:
    [[nodiscard]] bool composited() const override { return translucent; }
    [[nodiscard]] bool hasTray() const override { return false; }
    void makePanel(Window, const Edges& shadow) override { edges = shadow; }
    void activate(Window window) override { activated.push_back(window); }

    bool translucent = false;
    Edges edges;
    std::vector<Window> activated;
};

}  // namespace velmora::test
