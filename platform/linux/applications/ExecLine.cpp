#include "platform/linux/applications/ExecLine.h"

#include "platform/linux/applications/Glib.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace velmora {
namespace {

bool isFileCode(char code) {
    return code == 'f' || code == 'F' || code == 'u' || code == 'U';
}

/// A field code may not choose the program: what it stands for comes from elsewhere.
bool isProgram(std::string_view word) {
    for (std::size_t at = word.find('%'); at != std::string_view::npos; at = word.find('%', at + 2)) {
        if (!word.substr(at).starts_with("%%")) return false;
    }
    return !word.empty();
}

class Expansion {
  public:
    explicit Expansion(const ExecFields& fields) : fields_(fields) {}

    void add(const std::string& word) {
        if (word == "%i") {
            if (fields_.icon.empty()) return;
            arguments_.emplace_back("--icon");
            arguments_.push_back(fields_.icon);
            return;
        }
        if (word.size() == 2 && word[0] == '%' && isFileCode(word[1])) {
            addOperands(word[1], 0);
            return;
        }
        addMixed(word);
    }

    std::vector<std::string> finish() && {
        addOperands('f', 0);
        return std::move(arguments_);
    }

  private:
    void addOperands(char code, std::size_t first) {
        if (std::exchange(operandsPlaced_, true)) return;
        const auto& operands = code == 'u' || code == 'U' ? fields_.urls : fields_.files;
        // Flatpak takes everything between "@@" and "@@" for a file that exists: options go before that.
        const bool isForwarded = !arguments_.empty() && arguments_.back() == "@@";
        auto place = static_cast<std::ptrdiff_t>(arguments_.size()) - 1;
        for (std::size_t i = first; i < operands.size(); ++i) {
            if (isForwarded && operands[i].starts_with('-')) {
                arguments_.insert(arguments_.begin() + place++, operands[i]);
            } else {
                arguments_.push_back(operands[i]);
            }
        }
    }

    /// A word with codes inside it. An option takes the first operand where its code stands ("--url=%u"). Any other
    /// word may be a script for an interpreter: operands follow it as arguments, and never become part of it.
    void addMixed(const std::string& word) {
        const bool isOption = word.starts_with('-') && word.find_first_of(" \t\n\"'$`;&|<>()") == std::string::npos;
        std::string argument;
        char fileCode = 0;
        std::size_t used = 0;
        for (std::size_t i = 0; i < word.size(); ++i) {
            if (word[i] != '%' || i + 1 == word.size()) {
                argument += word[i];
                continue;
            }
            const char code = word[++i];
            if (code == '%') argument += '%';
            if (code == 'c') argument += fields_.name;
            if (code == 'k') argument += fields_.entryPath;
            if (!isFileCode(code) || fileCode != 0) continue;
            fileCode = code;
            const auto& operands = code == 'u' || code == 'U' ? fields_.urls : fields_.files;
            if (isOption && !operandsPlaced_ && !operands.empty()) {
                argument += operands.front();
                used = 1;
            }
        }
        if (!argument.empty() || word.empty()) arguments_.push_back(std::move(argument));
        if (fileCode != 0) addOperands(fileCode, used);
    }

    const ExecFields& fields_;
    std::vector<std::string> arguments_;
    bool operandsPlaced_ = false;
};

}  // namespace

std::vector<std::string> expandExec(const std::string& exec, const ExecFields& fields) {
    gchar** parsed = nullptr;
    const bool isWhole = g_shell_parse_argv(exec.c_str(), nullptr, &parsed, nullptr) != FALSE;
    const glib::Strings words(parsed);
    if (!isWhole) throw std::invalid_argument("The command line of the desktop entry cannot be read");
    if (!isProgram(words.get()[0])) throw std::invalid_argument("The desktop entry names no program");
    Expansion expansion(fields);
    for (gchar** word = words.get(); *word; ++word)
        expansion.add(*word);
    return std::move(expansion).finish();
}

}  // namespace velmora
