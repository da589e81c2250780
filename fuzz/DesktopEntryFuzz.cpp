// Any bytes either are no desktop entry or give one of valid texts, which are read again as they are when they stand in
// an entry of their own.
#include "fuzz/Fuzz.h"

#include "core/text/Text.h"
#include "platform/linux/applications/DesktopEntry.h"

namespace velmora::fuzz {
namespace {

std::string line(const char* key, std::string_view value) {
    std::string escaped = std::string(key) + "=";
    for (const char c : value) {
        constexpr std::string_view special = " \n\r\t\\";
        const std::size_t at = special.find(c);
        escaped += at == std::string_view::npos ? std::string(1, c) : std::string("\\") + "snrt\\"[at];
    }
    return escaped + "\n";
}

}  // namespace

void run(std::string_view input) {
    const std::vector<std::string> languages{"de_AT", "de"};
    const auto entry = DesktopEntry::parse(input, languages);
    if (!entry) return;
    const std::string written = "[Desktop Entry]\nType=Application\n" + line("Name", entry->name) +
                                line("Exec", entry->exec) + line("TryExec", entry->tryExec) +
                                line("Path", entry->path) + line("Icon", entry->icon);
    check(text::validUtf8(written) == written);
    const auto again = DesktopEntry::parse(written, languages);
    check(again && again->name == entry->name && again->exec == entry->exec && again->tryExec == entry->tryExec &&
          again->path == entry->path && again->icon == entry->icon);
    const std::vector<std::string> desktops{"GNOME"};
    check(!entry->isShown(desktops) || !(entry->hidden || entry->noDisplay));
}

}  // namespace velmora::fuzz
