#pragma once

#include "core/async/Async.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// A small menu at the mouse pointer.
///
/// Runs on: the main thread; the call suspends, the loop goes on.
class PopUpMenu {
  public:
    virtual ~PopUpMenu() = default;

    /// Lets the user choose one of `titles`; its index, or nothing when the menu was dismissed.
    [[nodiscard]] virtual Task<std::optional<std::size_t>> choose(std::vector<std::string> titles) = 0;
};

}  // namespace velmora
