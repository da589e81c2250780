#pragma once

#include "core/Clock.h"
#include "platform/Paths.h"

#include <memory>

namespace velmora {

class Alerts;
class ApplicationBundles;
class Pasteboard;
class Workspace;

/// Everything the program needs of the desktop it runs on. The entry makes it; what it refers to outlives every
/// service, and the main executor also the threads of the pool and the clock.
struct Platform {
    MainExecutor main;
    Executor pool;  ///< the worker pool, for actors
    Clock& clock;
    Paths paths;
    Workspace& workspace;
    Pasteboard& pasteboard;
    Alerts& alerts;
    std::shared_ptr<const ApplicationBundles> applicationBundles;
};

}  // namespace velmora
