#include "platform/linux/applications/LinuxFileIcons.h"

#include "platform/linux/applications/DesktopIcon.h"
#include "platform/linux/applications/Glib.h"

#include <string_view>

namespace velmora {
namespace {

/// Some entries name the file although they mean the icon of that name.
std::string withoutEnding(const std::string& name) {
    for (const std::string_view ending : {".png", ".svg", ".xpm"}) {
        if (name.size() > ending.size() && name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    }
    return name;
}

FileIcon iconOfType(const std::string& path) {
    const glib::Object<GFile> file(g_file_new_for_path(path.c_str()));
    const glib::Object<GFileInfo> information(
        g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_ICON, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    FileIcon icon;
    GIcon* const found = information ? g_file_info_get_icon(information.get()) : nullptr;
    if (!found || !G_IS_THEMED_ICON(found)) return icon;
    for (const gchar* const* name = g_themed_icon_get_names(G_THEMED_ICON(found)); name && *name; ++name)
        icon.themeNames.emplace_back(*name);
    return icon;
}

}  // namespace

FileIcon LinuxFileIcons::find(const std::string& path) const {
    if (!path.ends_with(".desktop") && !path.ends_with(".app")) return iconOfType(path);
    FileIcon icon;
    const std::string named = desktopEntryIcon(path).value_or("");
    if (named.starts_with('/')) {
        icon.imagePath = named;
    } else if (!named.empty()) {
        icon.themeNames = {named, withoutEnding(named)};
    }
    // For what is not there: the picture that stands for any application.
    icon.themeNames.emplace_back("application-x-executable");
    return icon;
}

}  // namespace velmora
