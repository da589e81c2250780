#pragma once

#include "core/async/Async.h"

#include <string>

namespace velmora {

/// What the user is asked to allow.
struct Confirmation {
    std::string title;
    std::string detail;
    /// How the detail goes on where it was cut off for its length; mostly empty. A view may show it on demand but never
    /// leave it out: who allows something can see all of it.
    std::string rest;
};

/// Questions and messages that the user must answer before going on.
///
/// Runs on: the main thread; the calls suspend, the loop goes on.
class Alerts {
  public:
    virtual ~Alerts() = default;

    /// Brings the program to the front and asks whether something may happen: the title as the message, the detail
    /// below it, and the buttons "Cancel" (the default, also chosen by Return, Escape and closing) and "Allow". A sheet
    /// on the program's active window when there is one. True only for "Allow".
    [[nodiscard]] virtual Task<bool> confirm(Confirmation confirmation) = 0;

    /// Tells the user of a failure and waits until the message is dismissed.
    [[nodiscard]] virtual Task<> showFailure(std::string title, std::string detail) = 0;
};

}  // namespace velmora
