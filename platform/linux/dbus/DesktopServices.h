#pragma once

#include <string>
#include <vector>

namespace velmora {

/// What the session's message bus does for opening things. Blocks; runs on: worker threads.
namespace DesktopServices {

/// How asking an application to activate itself went.
enum class Activation {
    done,
    unavailable,  ///< there is no bus, or nobody on it knows the application
};

/// Starts or activates the application with that desktop id over the bus; with `urls` it opens them. Fails with:
/// `std::runtime_error` when the application answers with an error or not at all.
Activation activate(const std::string& desktopId, const std::vector<std::string>& urls);

/// Shows the file manager with the item at `url` selected. False when no file manager offers that.
bool showItem(const std::string& url);

/// Asks the service manager, where there is one, to keep a started process apart from ours, so that it lives on when
/// we are stopped as a service. Takes two seconds at most; whether it worked is nobody's concern.
void moveToOwnScope(int process, const std::string& desktopId);

}  // namespace DesktopServices

}  // namespace velmora
