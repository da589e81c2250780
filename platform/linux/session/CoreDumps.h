#pragma once

namespace velmora {

/// From now on the process cannot be dumped, nor looked into by the user's other programs, while it holds a `Secret`.
/// Call once at start-up.
void keepSecretsFromCoreDumps();

}  // namespace velmora
