#pragma once

namespace velmora {

/// Whether the session has a message bus. To be asked before connecting: connecting where there is none starts one.
bool hasSessionBus();

}  // namespace velmora
