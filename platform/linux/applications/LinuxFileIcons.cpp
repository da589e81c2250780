#include "platform/linux/applications/LinuxFileIcons.h"

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/DesktopEnvironment.h"
#include "platform/linux/applications/Glib.h"
#include "platform/linux/applications/PropertyList.h"
#include "platform/linux/posix/BoundedFile.h"

#include <array>
#include <string_view>
#include <utility>

namespace velmora {
namespace {

/// Some entries name the file although they mean the icon of that name.
std::string withoutEnding(const std::string& name) {
    for (const std::string_view ending : {".png", ".svg", ".xpm"}) {
        if (name.size() > ending.size() && name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    }
    return name;
}

/// What an application says its icon is.
struct Named {
    std::string image;               ///< what an image file holds
    std::vector<std::string> names;  ///< otherwise, the best one first
};

std::vector<std::string> namesOfType(const std::string& path) {
    const glib::Object<GFile> file(g_file_new_for_path(path.c_str()));
    const glib::Object<GFileInfo> information(
        g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_ICON, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    std::vector<std::string> names;
    GIcon* const found = information ? g_file_info_get_icon(information.get()) : nullptr;
    if (!found || !G_IS_THEMED_ICON(found)) return names;
    for (const gchar* const* name = g_themed_icon_get_names(G_THEMED_ICON(found)); name && *name; ++name)
        names.emplace_back(*name);
    return names;
}

/// As the desktop entry says it: an absolute path, or a name of the icon theme.
Named iconOfEntry(const std::string& path) {
    const auto entry = DesktopEntry::load(path, DesktopEnvironment::userLanguages());
    if (!entry || entry->icon.empty()) return {};
    if (entry->icon.starts_with('/')) return {readBoundedFile(entry->icon, maximumImageBytes).value_or(""), {}};
    return {{}, {entry->icon, withoutEnding(entry->icon)}};
}

/// The image inside the application bundle that its property list names.
Named iconOfBundle(const std::string& path) {
    static constexpr std::array<std::string_view, 1> keys{"CFBundleIconFile"};
    const auto strings = bundleStrings(path, keys);
    const std::string name = strings && !strings->empty() ? strings->begin()->second : "";
    if (name.empty() || name.find('/') != std::string::npos) return {};
    for (const char* const ending : {"", ".icns", ".png", ".svg"}) {
        std::string file = path;
        file.append("/Contents/Resources/").append(name).append(ending);
        auto image = readBoundedFile(file, maximumImageBytes);
        if (image) return {std::move(*image), {}};
    }
    return {};
}

}  // namespace

LinuxFileIcons::LinuxFileIcons(const DesktopEnvironment& environment) : installed_(environment) {}

std::string LinuxFileIcons::find(const std::string& path, const std::vector<std::string>& themes, int pixels) const {
    const bool isEntry = path.ends_with(".desktop");
    Named icon;
    if (isEntry || path.ends_with(".app")) {
        icon = isEntry ? iconOfEntry(path) : iconOfBundle(path);
        // For what is not there: the picture that stands for any application.
        icon.names.emplace_back("application-x-executable");
    } else {
        icon.names = namesOfType(path);
    }
    for (const std::string& name : icon.names) {
        if (!icon.image.empty()) break;
        icon.image = installed_.find(name, themes, pixels);
    }
    return std::move(icon.image);
}

}  // namespace velmora
