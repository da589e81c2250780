#pragma once

#include <string>
#include <vector>

namespace velmora {

/// What the field codes of a desktop entry's command line stand for.
struct ExecFields {
    std::string name;       ///< %c
    std::string icon;       ///< %i; may be empty
    std::string entryPath;  ///< %k
    /// What to open: paths for %f and %F, addresses for %u and %U. Of the same length.
    std::vector<std::string> files;
    std::vector<std::string> urls;
};

/// The program and its arguments that the command line `exec` of a desktop entry means. Every operand comes through as
/// it is: in place of the first file code or, where there is none, at the end. Runs on: any thread. Fails with:
/// `std::invalid_argument` when the line cannot be read or names no program.
std::vector<std::string> expandExec(const std::string& exec, const ExecFields& fields);

}  // namespace velmora
