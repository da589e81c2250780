// Of any command line, no operand is ever lost, split or taken for the program when it is expanded. One without field
// codes is what GLib's shell words make of it.
#include "fuzz/Fuzz.h"

#include "platform/linux/applications/ExecLine.h"
#include "platform/linux/applications/Glib.h"

#include <algorithm>
#include <stdexcept>

void velmora::fuzz::run(std::string_view input) {
    const std::string exec(input.substr(0, input.find('\0')));
    const std::string operand = "$(operand) '\" %f \\";
    std::vector<std::string> words;
    try {
        words = expandExec(exec, {"%f name", "icon", "/x.desktop", {operand, "2"}, {operand, "2"}});
    } catch (const std::invalid_argument&) {
        return;
    }
    check(!words.empty() && !words.front().empty() && words.front().find(operand) == std::string::npos);
    check(std::ranges::count_if(words, [&](const auto& word) { return word.find(operand) != std::string::npos; }) == 1);
    check(std::ranges::find(words.begin() + 1, words.end(), "2") != words.end());
    if (exec.find('%') != std::string::npos) return;
    gchar** parsed = nullptr;
    g_shell_parse_argv(exec.c_str(), nullptr, &parsed, nullptr);
    const glib::Strings all(parsed);
    std::vector<std::string> expected(parsed, parsed + g_strv_length(parsed));
    expected.insert(expected.end(), {operand, "2"});
    check(words == expected);
}
