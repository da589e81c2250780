#pragma once

namespace velmora {

/// Makes the calling thread step back behind everything that the user waits for, for processor and disk alike. There
/// is no way back: for threads of one's own only.
void lowerThreadPriority() noexcept;

}  // namespace velmora
