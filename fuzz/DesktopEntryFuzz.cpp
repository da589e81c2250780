// Any bytes either are no desktop entry or give one of valid texts; no operand is ever lost, split or taken for the
// program when its command line is expanded.
#include "core/text/Text.h"
#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/ExecLine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace {

void check(bool holds) {
    if (!holds) std::abort();
}

void checkExpansion(const std::string& exec, const velmora::DesktopEntry& entry) {
    const std::string operand = "$(operand) '\" %f \\";
    std::vector<std::string> words;
    try {
        words = velmora::expandExec(exec, {entry.name, entry.icon, "/x.desktop", {operand, "2"}, {operand, "2"}});
    } catch (const std::invalid_argument&) {
        return;
    }
    check(!words.empty() && !words.front().empty() && words.front().find(operand) == std::string::npos);
    const auto holds = [&](const std::string& word) { return word.find(operand) != std::string::npos; };
    check(std::ranges::count_if(words, holds) >= 1);
    check(std::ranges::find(words.begin() + 1, words.end(), "2") != words.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string contents(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> languages{"de_AT", "de"};
    if (const auto entry = velmora::DesktopEntry::parse(contents, languages)) {
        for (const std::string& words : {entry->name, entry->exec, entry->path, entry->icon})
            check(velmora::text::validUtf8(words) == words);
        checkExpansion(entry->exec, *entry);
    }
    if (contents.find('\0') == std::string::npos) checkExpansion(contents, {});
    return 0;
}
