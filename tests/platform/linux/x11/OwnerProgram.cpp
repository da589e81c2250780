// Owns the clipboard of the display that the environment names until it is ended.
//
// usage: selection_owner TARGET=TEXT ... [--silent]     with --silent no target is answered, only which there are
//
// Prints a line once it owns the clipboard.

#include "tests/platform/linux/x11/SelectionOwner.h"

#include <unistd.h>

#include <iostream>

int main(int argc, char** argv) {
    using velmora::test::SelectionOwner;
    SelectionOwner::Script script;
    bool silent = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        silent = silent || argument == "--silent";
        const std::size_t sign = argument.rfind('=');
        if (sign != std::string_view::npos)
            script[std::string(argument.substr(0, sign))].bytes = argument.substr(sign + 1);
    }
    for (auto& [target, answer] : script) {
        if (silent) answer.how = SelectionOwner::How::silent;
    }
    const SelectionOwner owner("", std::move(script));
    std::cout << "ready" << std::endl;
    for (;;)
        pause();
}
