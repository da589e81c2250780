#pragma once

#include <chrono>
#include <cstddef>

/// For a process of the program's own that takes in what anybody may have made.
namespace velmora {

/// From now on this process writes no file, opens few and has no more memory than that.
void limitResources(std::size_t memoryBytes);

/// Ends this process unless it is called again in time; zero: it may go on.
void endProcessAfter(std::chrono::milliseconds time);

}  // namespace velmora
