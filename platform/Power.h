#pragma once

#include "core/async/Async.h"

namespace velmora {

/// What the desktop answered to a request about the session itself.
enum class SessionAnswer {
    accepted,
    refused,      ///< it does not let this user, or not now
    unavailable,  ///< there is nobody to ask, or nobody answered in time
};

/// The power management of the machine.
///
/// Runs on: called from the main thread; the work is done elsewhere, within seconds. Fails with: nothing.
class Power {
  public:
    virtual ~Power() = default;

    /// Asks for the machine to be put to sleep; returns when that is accepted, which may be after it woke up again.
    [[nodiscard]] virtual Task<SessionAnswer> sleep() = 0;
};

}  // namespace velmora
