#pragma once

#include "platform/linux/applications/DesktopEnvironment.h"

namespace velmora {

/// The words to put before a command so that it runs in a terminal window. Nothing when no terminal emulator is
/// installed. Runs on: any thread.
std::optional<std::vector<std::string>> terminalCommand(const DesktopEnvironment& environment);

}  // namespace velmora
