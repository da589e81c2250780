#pragma once

#include "platform/Pasteboard.h"

namespace velmora {

/// The desktop's clipboard (not the middle-click selection).
class QtPasteboard final : public Pasteboard {
  public:
    [[nodiscard]] bool setText(const std::string& text) override;
};

}  // namespace velmora
