#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// A further way to launch an application, offered next to opening it.
struct AppLaunchAction {
    std::string id;  ///< unique within the application's result
    std::string title;
    std::vector<std::string> arguments;  ///< passed to the application

    bool operator==(const AppLaunchAction&) const = default;
};

/// The launch actions known for some applications. Runs on: any thread.
namespace AppActionCatalog {

/// Those of the application with that identifier or desktop id (without ".desktop"), letter case included, in the order
/// to list them; none for others.
std::span<const AppLaunchAction> actions(std::string_view bundleIdentifier);

}  // namespace AppActionCatalog

/// What the user types in argument mode. Runs on: any thread.
namespace LaunchArguments {

/// The arguments in `text`, separated by white space. Single and double quotes keep white space together and may start
/// and end inside an argument; one left open runs to the end. There is no escape character, and an empty pair of quotes
/// is no argument.
std::vector<std::string> split(std::string_view text);

}  // namespace LaunchArguments

}  // namespace velmora
