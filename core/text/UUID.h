#pragma once

#include <string>

namespace velmora {

/// A new random UUID as upper-case text with hyphens. Runs on: any thread.
std::string newUUID();

}  // namespace velmora
