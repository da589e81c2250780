#pragma once

#include "app/ui/state/PaletteMode.h"
#include "core/commands/Commands.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

class AppServices;

/// The commands that the palette has of its own. Runs on: the main thread.
namespace BuiltInCommands {

/// Those that are always there, in the order to register them. The ones that switch the mode call `enter`.
std::vector<std::shared_ptr<const Command>> all(const std::shared_ptr<AppServices>& services,
                                                const std::function<void(PaletteMode)>& enter);

/// The row with the value of an arithmetic expression; nothing for any other query.
ResultPointer calculation(const std::shared_ptr<AppServices>& services, const std::string& query);

}  // namespace BuiltInCommands

}  // namespace velmora
