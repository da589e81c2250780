#pragma once

#include "platform/Power.h"

namespace velmora {

/// The lock of the session's screen.
///
/// Runs on: called from the main thread; the work is done elsewhere, within seconds. Fails with: nothing.
class ScreenLock {
  public:
    virtual ~ScreenLock() = default;

    /// Asks for the screen to be locked. The lock itself is not waited for.
    [[nodiscard]] virtual Task<SessionAnswer> lock() = 0;
};

}  // namespace velmora
