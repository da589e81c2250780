#pragma once

#include <string_view>

namespace velmora {

/// What the palette lists.
enum class PaletteMode { commands, files, clipboard, ai };

/// How a mode presents itself.
struct ModeTexts {
    std::string_view title;
    std::string_view symbol;
    std::string_view placeholder;  ///< of the empty input field
};

constexpr ModeTexts textsOf(PaletteMode mode) {
    switch (mode) {
        case PaletteMode::commands:
            return {"Commands", "command", "Search commands, apps or ask AI…"};
        case PaletteMode::files:
            return {"Search Files", "doc.text.magnifyingglass", "Search indexed filenames…"};
        case PaletteMode::clipboard:
            return {"Clipboard History", "clipboard", "Search clipboard history…"};
        case PaletteMode::ai:
            return {"Ask AI", "sparkles", "Ask AI to do something…"};
    }
    return {};
}

}  // namespace velmora
