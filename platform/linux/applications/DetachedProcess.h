#pragma once

#include <string>
#include <vector>

namespace velmora {

/// A program to start that then lives on by itself.
struct DetachedProcess {
    std::vector<std::string> arguments;  ///< the first is the absolute path of the program
    std::string directory;               ///< the working directory
    std::string label;                   ///< what its output is filed under in the journal

    /// Starts it and returns its process identifier. It is in a session of its own, no child of ours (so that it
    /// neither ends with us nor becomes a zombie), has the session's environment, no input, the journal for output and
    /// no other descriptor. Blocks; runs on: worker threads. Fails with: `std::runtime_error`.
    [[nodiscard]] int start() const;
};

}  // namespace velmora
