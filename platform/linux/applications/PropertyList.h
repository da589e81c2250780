#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmora {

/// The values of those `keys` that are strings in the dictionary at the top of an XML property list. UTF-8, not
/// necessarily valid. Nothing when `contents` is no such list; binary lists are refused. Runs on: any thread.
std::optional<std::map<std::string, std::string>> propertyListStrings(std::string_view contents,
                                                                      std::span<const std::string_view> keys);

/// What the Info.plist of the application bundle at `path` says under those keys.
std::optional<std::map<std::string, std::string>> bundleStrings(const std::string& path,
                                                                std::span<const std::string_view> keys);

}  // namespace velmora
