#pragma once

#include "platform/PopUpMenu.h"

namespace velmora {

/// The pop-up menu as a menu of the toolkit.
class QtPopUpMenu final : public PopUpMenu {
  public:
    [[nodiscard]] Task<std::optional<std::size_t>> choose(std::vector<std::string> titles) override;
};

}  // namespace velmora
