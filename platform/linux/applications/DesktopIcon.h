#pragma once

#include <optional>
#include <string>

namespace velmora {

/// The icon of the application at `path`: a name of the icon theme or the absolute path of an image, as a desktop entry
/// says it, or the image inside an application bundle. Nothing when there is none. Reads the disk; runs on: any thread.
std::optional<std::string> desktopEntryIcon(const std::string& path) noexcept;

}  // namespace velmora
