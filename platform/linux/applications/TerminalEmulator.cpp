#include "platform/linux/applications/TerminalEmulator.h"

#include <array>

namespace velmora {
namespace {

struct Terminal {
    const char* program;
    std::array<const char*, 2> options;  // what stands between the program and the command; null for nothing
};

// The user's and the distribution's own choice first.
constexpr std::array terminals{
    Terminal{"xdg-terminal-exec", {}},
    Terminal{"x-terminal-emulator", {"-e"}},
    Terminal{"gnome-terminal", {"--"}},
    Terminal{"ptyxis", {"--"}},
    Terminal{"kgx", {"--"}},
    Terminal{"konsole", {"-e"}},
    Terminal{"xfce4-terminal", {"-x"}},
    Terminal{"mate-terminal", {"-x"}},
    Terminal{"tilix", {"-e"}},
    Terminal{"wezterm", {"start", "--"}},
    Terminal{"alacritty", {"-e"}},
    Terminal{"kitty", {}},
    Terminal{"foot", {}},
    Terminal{"urxvt", {"-e"}},
    Terminal{"xterm", {"-e"}},
};

}  // namespace

std::optional<std::vector<std::string>> terminalCommand(const DesktopEnvironment& environment) {
    for (const Terminal& terminal : terminals) {
        auto program = environment.findProgram(terminal.program);
        if (!program) continue;
        std::vector<std::string> words{std::move(*program)};
        for (const char* const option : terminal.options) {
            if (option) words.emplace_back(option);
        }
        return words;
    }
    return std::nullopt;
}

}  // namespace velmora
