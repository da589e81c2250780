#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace velmora {

/// The most an application's description may take: the largest real ones have a tenth of it.
inline constexpr std::size_t maximumDescriptionBytes = 1'000'000;

/// The contents of a regular file (links followed) of at most `limitBytes`; nothing for anything else, what cannot be
/// opened included. Blocks on the disk, never on a pipe. Runs on: any thread.
std::optional<std::string> readBoundedFile(const std::string& path, std::size_t limitBytes);

}  // namespace velmora
