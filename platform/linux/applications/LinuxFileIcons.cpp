#include "platform/linux/applications/LinuxFileIcons.h"

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/DesktopEnvironment.h"
#include "platform/linux/applications/Glib.h"
#include "platform/linux/applications/PropertyList.h"
#include "platform/linux/posix/BoundedFile.h"

#include <array>
#include <string_view>

namespace velmora {
namespace {

/// Far more than an icon has reason to take.
constexpr std::size_t maximumImageBytes = 8U << 20U;

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

/// As the desktop entry says it: an absolute path, or a name of the icon theme.
FileIcon iconOfEntry(const std::string& path) {
    FileIcon icon;
    const auto entry = DesktopEntry::load(path, DesktopEnvironment::userLanguages());
    if (!entry || entry->icon.empty()) return icon;
    if (entry->icon.starts_with('/')) {
        icon.image = readBoundedFile(entry->icon, maximumImageBytes).value_or("");
    } else {
        icon.themeNames = {entry->icon, withoutEnding(entry->icon)};
    }
    return icon;
}

/// The image inside the application bundle that its property list names.
FileIcon iconOfBundle(const std::string& path) {
    static constexpr std::array<std::string_view, 1> keys{"CFBundleIconFile"};
    const auto strings = bundleStrings(path, keys);
    const std::string name = strings && !strings->empty() ? strings->begin()->second : "";
    if (name.empty() || name.find('/') != std::string::npos) return {};
    for (const char* const ending : {"", ".icns", ".png", ".svg"}) {
        std::string file = path;
        file.append("/Contents/Resources/").append(name).append(ending);
        auto image = readBoundedFile(file, maximumImageBytes);
        if (image) return {{}, std::move(*image)};
    }
    return {};
}

}  // namespace

FileIcon LinuxFileIcons::find(const std::string& path) const {
    const bool isEntry = path.ends_with(".desktop");
    if (!isEntry && !path.ends_with(".app")) return iconOfType(path);
    FileIcon icon = isEntry ? iconOfEntry(path) : iconOfBundle(path);
    // For what is not there: the picture that stands for any application.
    icon.themeNames.emplace_back("application-x-executable");
    return icon;
}

}  // namespace velmora
