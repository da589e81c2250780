#pragma once

#include "core/async/Async.h"

#include <optional>
#include <string>

namespace velmora {

/// The application that the user is working with; the palette over it is none.
///
/// Runs on: called from the main thread; the work is done elsewhere. Fails with: `Cancelled` only.
class FrontmostApplication {
  public:
    virtual ~FrontmostApplication() = default;

    /// Its identifier in the sense of `ApplicationBundles`; nothing when the platform does not tell.
    [[nodiscard]] virtual Task<std::optional<std::string>> bundleIdentifier() = 0;
};

}  // namespace velmora
