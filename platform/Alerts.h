#pragma once

#include "core/async/Async.h"

#include <string>

namespace velmora {

/// Questions and messages that the user must answer before going on.
///
/// Runs on: the main thread; the calls suspend, the loop goes on.
class Alerts {
  public:
    virtual ~Alerts() = default;

    /// Brings the program to the front and asks whether something may happen: `title` as the message, `detail` below
    /// it, and the buttons "Cancel" (the default, also chosen by Return, Escape and closing) and "Allow". A sheet on
    /// the program's active window when there is one. True only for "Allow".
    [[nodiscard]] virtual Task<bool> confirm(std::string title, std::string detail) = 0;

    /// Tells the user of a failure and waits until the message is dismissed.
    [[nodiscard]] virtual Task<> showFailure(std::string title, std::string detail) = 0;
};

}  // namespace velmora
