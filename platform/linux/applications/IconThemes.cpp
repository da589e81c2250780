#include "platform/linux/applications/IconThemes.h"

#include "platform/linux/applications/DesktopEnvironment.h"
#include "platform/linux/applications/Glib.h"
#include "platform/linux/posix/BoundedFile.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

namespace velmora {
namespace {

// Far beyond any real theme.
constexpr std::size_t maximumThemes = 64;
constexpr std::size_t maximumDirectories = 2000;
constexpr int maximumSize = 4096;

constexpr const char* lastTheme = "hicolor";
constexpr std::array endings{".png", ".svg", ".xpm"};

/// A name that stays in the folder it is looked up in.
bool isPlain(std::string_view name) {
    return !name.empty() && name.size() <= 255 && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

/// The same for a path of several folders.
bool staysBelow(std::string_view path) {
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        if (!isPlain(part)) return false;
        path.remove_prefix(std::min(part.size() + 1, path.size()));
    }
    return true;
}

std::string below(std::string folder, std::string_view path) {
    folder += '/';
    folder += path;
    return folder;
}

std::string pictureIn(const std::string& folder, const std::string& name) {
    const std::string file = below(folder, name);
    for (const char* const ending : endings) {
        auto contents = readBoundedFile(file + ending, maximumImageBytes);
        if (contents && !contents->empty()) return std::move(*contents);
    }
    return {};
}

std::vector<std::string> list(GKeyFile& file, const char* key) {
    const glib::Strings values(g_key_file_get_string_list(&file, "Icon Theme", key, nullptr, nullptr));
    std::vector<std::string> all;
    for (gchar** value = values.get(); value && *value && all.size() < maximumDirectories; ++value)
        all.emplace_back(*value);
    return all;
}

int number(GKeyFile& file, const std::string& group, const char* key, int otherwise) {
    const glib::String text(g_key_file_get_value(&file, group.c_str(), key, nullptr));
    if (!text) return otherwise;
    return std::clamp(g_key_file_get_integer(&file, group.c_str(), key, nullptr), 0, maximumSize);
}

}  // namespace

IconThemes::IconThemes(const DesktopEnvironment& environment)
    : folders_{environment.home + "/.icons", environment.dataHome + "/icons"} {
    for (const std::string& folder : environment.dataFolders) {
        folders_.push_back(folder + "/icons");
        loose_.push_back(folder + "/pixmaps");
    }
}

std::string IconThemes::find(const std::string& name, const std::vector<std::string>& themes, int pixels) const {
    if (!isPlain(name)) return {};
    std::vector<std::string> names;
    for (const std::string& theme : themes)
        addWithParents(theme, names);
    std::erase(names, lastTheme);
    names.emplace_back(lastTheme);
    std::string found;
    for (auto theme = names.begin(); found.empty() && theme != names.end(); ++theme)
        found = findIn(*theme, name, pixels);
    for (const auto* const places : {&folders_, &loose_}) {
        for (auto place = places->begin(); found.empty() && place != places->end(); ++place)
            found = pictureIn(*place, name);
    }
    return found;
}

void IconThemes::addWithParents(const std::string& name, std::vector<std::string>& names) const {
    if (!isPlain(name) || names.size() >= maximumThemes || std::ranges::find(names, name) != names.end()) return;
    names.push_back(name);
    for (const std::string& parent : theme(name).parents)
        addWithParents(parent, names);
}

std::string IconThemes::findIn(const std::string& theme, const std::string& name, int pixels) const {
    std::vector<std::pair<int, const Directory*>> fitting;
    for (const Directory& directory : this->theme(theme).directories) {
        // Making a picture larger shows more than making it smaller, and one of that very size needs no drawing.
        const int distance = std::max({directory.smallest - pixels, (pixels - directory.largest) * 4, 0}) * 2;
        fitting.emplace_back(distance + (directory.smallest < directory.largest ? 1 : 0), &directory);
    }
    std::ranges::stable_sort(fitting, {}, &std::pair<int, const Directory*>::first);
    std::vector<std::string> places;
    std::error_code missing;
    for (const std::string& folder : folders_) {
        std::string place = below(folder, theme);
        if (std::filesystem::is_directory(place, missing)) places.push_back(std::move(place));
    }
    for (const auto& [distance, directory] : fitting) {
        for (const std::string& place : places) {
            std::string found = pictureIn(below(place, directory->path), name);
            if (!found.empty()) return found;
        }
    }
    return {};
}

const IconThemes::Theme& IconThemes::theme(const std::string& name) const {
    static const Theme none;
    const std::lock_guard lock(mutex_);
    const auto known = themes_.find(name);
    if (known != themes_.end()) return known->second;
    for (const std::string& folder : folders_) {
        const auto index = readBoundedFile(below(folder, name) + "/index.theme", maximumDescriptionBytes);
        if (index) return themes_.emplace(name, parse(*index)).first->second;
    }
    return none;  // it may be installed yet
}

IconThemes::Theme IconThemes::parse(const std::string& index) {
    Theme theme;
    const glib::KeyFile file(g_key_file_new());
    if (!g_key_file_load_from_data(file.get(), index.data(), index.size(), G_KEY_FILE_NONE, nullptr)) return theme;
    g_key_file_set_list_separator(file.get(), ',');
    theme.parents = list(*file, "Inherits");
    for (const char* const key : {"Directories", "ScaledDirectories"}) {
        for (std::string& path : list(*file, key)) {
            if (path.empty() || !staysBelow(path)) continue;
            const int size = number(*file, path, "Size", 0);
            const int scale = std::max(number(*file, path, "Scale", 1), 1);
            const glib::String type(g_key_file_get_string(file.get(), path.c_str(), "Type", nullptr));
            const std::string_view kind = type ? type.get() : "Threshold";
            int smallest = size;
            int largest = size;
            if (kind == "Scalable") {
                smallest = number(*file, path, "MinSize", size);
                largest = number(*file, path, "MaxSize", size);
            } else if (kind == "Threshold") {
                const int threshold = number(*file, path, "Threshold", 2);
                smallest -= threshold;
                largest += threshold;
            }
            theme.directories.push_back({std::move(path), smallest * scale, largest * scale});
        }
    }
    return theme;
}

}  // namespace velmora
