#include "app/ui/state/PaletteScreen.h"

#include "app/ui/state/PaletteState.h"

namespace velmora {
namespace {

using Mode = PaletteMode;

constexpr std::size_t fileSearchCap = 100;
constexpr const char* argumentSymbol = "terminal";
constexpr const char* argumentHint = "Type arguments and press Return, or pick a previous launch below.";
constexpr const char* commandHelp = "Type a name or keyword to find a result.";
constexpr const char* fileHelp =
    "Results come from Velmora's own file index. Add folders in Settings → File Index if something is missing.";
constexpr const char* fileExample = "report 2026 ext:pdf · path:Downloads · kind:folder · sort:size";
constexpr const char* keyHints = "↑ ↓ Navigate   ↵ Execute   ⇥ Arguments   ⌘ K Actions   esc Close";

PaletteScreen::Folder folderOf(const std::optional<std::string>& directory) {
    if (!directory) return {"All Folders", {}};
    const std::string name = directory->substr(directory->rfind('/') + 1);
    return {name.empty() ? *directory : name, *directory};
}

/// Without a text where nothing is previewed.
PaletteScreen::Preview previewOf(const PaletteState& state) {
    const ResultPointer selected = state.selectedResult();
    if (!state.showsPreview() || !selected) return {};
    const std::optional<std::string>& text = selected->previewText;
    if (!text) return {};
    if (state.wholePreview()) return {state.wholePreview(), true};
    return {{selected, &*text}, !selected->wholePreview};
}

PaletteScreen::Page pageOf(const PaletteState& state) {
    if (previewOf(state).text) return PaletteScreen::Page::preview;
    if (state.mode() == Mode::ai) return PaletteScreen::Page::answer;
    return state.results().empty() ? PaletteScreen::Page::nothing : PaletteScreen::Page::list;
}

PaletteScreen::Nothing nothingOf(const PaletteState& state) {
    // What is still being searched for is not missing yet.
    if (state.searching()) return {};
    if (state.argumentTarget()) return {argumentSymbol, "No Results", {}};
    const Mode symbol = state.mode() == Mode::commands ? Mode::files : state.mode();
    return {std::string(textsOf(symbol).symbol), "No Results", state.mode() == Mode::files ? fileHelp : commandHelp};
}

std::string countOf(std::size_t results) {
    return results == fileSearchCap ? "First 100" : std::to_string(results) + " results";
}

PaletteScreen::Footer footerOf(const PaletteState& state, const PaletteScreen& screen) {
    const ModeTexts mode = textsOf(state.mode());
    PaletteScreen::Footer footer;
    footer.symbol = state.argumentTarget() ? argumentSymbol : mode.symbol;
    footer.title = mode.title;
    if (!state.running().empty()) {
        footer.help = "Running " + state.running() + "…";
    } else if (screen.atHome) {
        footer.hints = keyHints;
    } else if (state.mode() == Mode::files) {
        footer.help = fileExample;
        footer.remark = countOf(state.results().size());
    } else if (!state.argumentTarget() && screen.page != PaletteScreen::Page::nothing) {
        footer.help = commandHelp;
    }
    return footer;
}

}  // namespace

PaletteScreen PaletteScreen::of(const PaletteState& state) {
    const AssistantState& assistant = state.assistant();
    PaletteScreen screen;
    screen.placeholder = state.argumentTarget() ? "Arguments for " + state.argumentTarget()->title
                                                : std::string(textsOf(state.mode()).placeholder);
    screen.atHome = state.mode() == Mode::commands && !state.argumentTarget();
    if (state.mode() == Mode::files) screen.folder = folderOf(state.fileDirectory());
    screen.working = state.searching() || state.busy();
    screen.error = state.error().value_or(state.notice());
    if (state.argumentTarget()) screen.argumentHelp = argumentHint;
    screen.page = pageOf(state);
    screen.nothing = nothingOf(state);
    if (screen.page == Page::answer) {
        screen.answered = !assistant.output()->empty();
        screen.answer = screen.answered ? assistant.output()
                                        : std::make_shared<const std::string>(assistant.introduction());
    }
    if (state.busy()) screen.answerStatus = assistant.status();
    screen.preview = previewOf(state);
    if (state.showsActions()) screen.acting = state.selectedResult();
    screen.footer = footerOf(state, screen);
    return screen;
}

}  // namespace velmora
