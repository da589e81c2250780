#pragma once

#include <string>
#include <vector>

namespace velmora {

/// Starting applications with the help of the session's message bus. Blocks; runs on: worker threads.
namespace SessionBus {

/// How asking an application to activate itself went.
enum class Activation {
    done,
    unavailable,  ///< there is no bus, or nobody on it knows the application
};

/// Starts or activates the application with that desktop id over the bus; with `urls` it opens them. Fails with:
/// `std::runtime_error` when the application answers with an error or not at all.
Activation activate(const std::string& desktopId, const std::vector<std::string>& urls);

/// Asks the service manager, where there is one, to keep a started process apart from ours, so that it lives on when
/// we are stopped as a service. Takes two seconds at most; whether it worked is nobody's concern.
void separate(int process, const std::string& desktopId);

}  // namespace SessionBus

}  // namespace velmora
