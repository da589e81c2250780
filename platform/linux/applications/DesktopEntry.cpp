#include "platform/linux/applications/DesktopEntry.h"

#include "core/text/Text.h"
#include "platform/linux/applications/Glib.h"
#include "platform/linux/posix/BoundedFile.h"

#include <algorithm>

namespace velmora {
namespace {

constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;

class Entry {
  public:
    explicit Entry(std::string_view contents) : file_(g_key_file_new()) {
        const std::string valid = text::validUtf8(contents);
        isWhole_ = g_key_file_load_from_data(file_.get(), valid.data(), valid.size(), G_KEY_FILE_KEEP_TRANSLATIONS,
                                             nullptr) != FALSE;
    }

    [[nodiscard]] bool isWhole() const { return isWhole_; }

    [[nodiscard]] std::string string(const char* key) const {
        const glib::String value(g_key_file_get_string(file_.get(), group, key, nullptr));
        return value ? value.get() : "";
    }

    [[nodiscard]] std::string translated(const char* key, std::span<const std::string> languages) const {
        for (const std::string& language : languages) {
            const glib::String found(g_key_file_get_locale_for_key(file_.get(), group, key, language.c_str()));
            if (!found) continue;
            const glib::String value(g_key_file_get_locale_string(file_.get(), group, key, found.get(), nullptr));
            if (value) return value.get();
        }
        return string(key);
    }

    [[nodiscard]] bool flag(const char* key) const {
        return g_key_file_get_boolean(file_.get(), group, key, nullptr) != FALSE;
    }

    [[nodiscard]] std::optional<std::vector<std::string>> list(const char* key) const {
        const glib::Strings values(g_key_file_get_string_list(file_.get(), group, key, nullptr, nullptr));
        if (!values) return std::nullopt;
        std::vector<std::string> all;
        for (gchar** value = values.get(); *value; ++value)
            all.emplace_back(*value);
        return all;
    }

  private:
    glib::KeyFile file_;
    bool isWhole_ = false;
};

bool contains(const std::vector<std::string>& all, const std::string& one) {
    return std::ranges::find(all, one) != all.end();
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view contents, std::span<const std::string> languages) {
    const Entry file(contents);
    if (!file.isWhole() || file.string(G_KEY_FILE_DESKTOP_KEY_TYPE) != G_KEY_FILE_DESKTOP_TYPE_APPLICATION) {
        return std::nullopt;
    }
    DesktopEntry entry;
    entry.name = file.translated(G_KEY_FILE_DESKTOP_KEY_NAME, languages);
    entry.exec = file.string(G_KEY_FILE_DESKTOP_KEY_EXEC);
    entry.tryExec = file.string(G_KEY_FILE_DESKTOP_KEY_TRY_EXEC);
    entry.path = file.string(G_KEY_FILE_DESKTOP_KEY_PATH);
    entry.icon = file.translated(G_KEY_FILE_DESKTOP_KEY_ICON, languages);
    entry.startupWMClass = file.string(G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS);
    entry.terminal = file.flag(G_KEY_FILE_DESKTOP_KEY_TERMINAL);
    entry.dbusActivatable = file.flag(G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE);
    entry.noDisplay = file.flag(G_KEY_FILE_DESKTOP_KEY_NO_DISPLAY);
    entry.hidden = file.flag(G_KEY_FILE_DESKTOP_KEY_HIDDEN);
    entry.onlyShowIn = file.list(G_KEY_FILE_DESKTOP_KEY_ONLY_SHOW_IN);
    entry.notShowIn = file.list(G_KEY_FILE_DESKTOP_KEY_NOT_SHOW_IN).value_or(std::vector<std::string>{});
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::load(const std::string& path, std::span<const std::string> languages) {
    const auto contents = readBoundedFile(path, maximumDescriptionBytes);
    return contents ? parse(*contents, languages) : std::nullopt;
}

bool DesktopEntry::isShown(std::span<const std::string> currentDesktops) const {
    if (hidden || noDisplay) return false;
    for (const std::string& desktop : currentDesktops) {
        if (onlyShowIn && contains(*onlyShowIn, desktop)) return true;
        if (contains(notShowIn, desktop)) return false;
    }
    return !onlyShowIn;
}

}  // namespace velmora
