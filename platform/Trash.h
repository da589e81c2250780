#pragma once

#include "core/async/Async.h"

namespace velmora {

/// The user's Trash, on every volume.
///
/// Runs on: called from the main thread; the work is done elsewhere.
class Trash {
  public:
    virtual ~Trash() = default;

    /// Deletes everything in it for good; whatever can be is deleted even when something cannot. False when something
    /// is left.
    [[nodiscard]] virtual Task<bool> empty() = 0;
};

}  // namespace velmora
