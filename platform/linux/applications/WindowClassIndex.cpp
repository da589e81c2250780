#include "platform/linux/applications/WindowClassIndex.h"

#include "core/text/Text.h"

namespace velmora {

void WindowClassIndex::add(std::string_view id, std::string_view startupWMClass) {
    if (id.empty()) return;
    const std::string folded = text::fold(id);
    if (!startupWMClass.empty()) byStartupClass_.try_emplace(text::fold(startupWMClass), id);
    byId_.try_emplace(folded, id);
    const std::size_t dot = folded.rfind('.');
    if (dot != std::string::npos) byLastPart_.try_emplace(folded.substr(dot + 1), id);
}

std::optional<std::string> WindowClassIndex::find(const std::vector<std::string>& classes) const {
    for (const auto* const index : {&byStartupClass_, &byId_, &byLastPart_}) {
        for (const std::string& name : classes) {
            const auto found = index->find(text::fold(name));
            if (found != index->end()) return found->second;
        }
    }
    return std::nullopt;
}

}  // namespace velmora
