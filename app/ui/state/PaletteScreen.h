#pragma once

#include "core/commands/Commands.h"

#include <memory>
#include <optional>
#include <string>

namespace velmora {

class PaletteState;

/// What the palette's window shows at a moment: every text and every choice of what is visible. Views draw it and
/// decide nothing. Texts that are empty are not shown.
struct PaletteScreen {
    /// What takes the room between the input and the footer.
    enum class Page { list, nothing, answer, preview };

    /// The folder control of the files mode.
    struct Folder {
        std::string label;
        std::string path;  ///< empty: all folders
    };
    /// What stands in place of an empty list.
    struct Nothing {
        std::string symbol;
        std::string heading;
        std::string help;

        bool operator==(const Nothing&) const = default;
    };
    /// What the preview shows.
    struct Preview {
        std::shared_ptr<const std::string> text;
        bool isWhole = true;  ///< false: only the beginning, the rest is being read
    };
    struct Footer {
        std::string symbol;
        std::string title;
        std::string hints;   ///< such as "↵ Execute   esc Close"; there are hints or help, not both
        std::string help;    ///< one line
        std::string remark;  ///< behind the help, such as a count

        bool operator==(const Footer&) const = default;
    };

    static PaletteScreen of(const PaletteState& state);

    std::string placeholder;
    bool atHome = true;  ///< where every showing of the palette begins: there is no way back
    std::optional<Folder> folder;
    bool working = false;
    std::string error;
    std::string argumentHelp;
    Page page = Page::list;
    Nothing nothing;
    std::shared_ptr<const std::string> answer;  ///< on the answer page: the answer, or what is said before there is one
    bool answered = false;
    std::string answerStatus;
    Preview preview;       ///< on the preview page only
    ResultPointer acting;  ///< the result whose actions are listed; none: the menu is closed
    Footer footer;
};

}  // namespace velmora
