// A program that does what its first argument says, most of which no program should do.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

namespace {

/// Tells the test, through the folder it was started in, that it now is what it was told to be.
void sayReady() {
    close(open("ready", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

[[noreturn]] void sleepUntilKilled() {
    alarm(30);  // so that a failed test leaves nothing for long
    for (;;)
        pause();
}

[[noreturn]] void flood(int descriptor) {
    const std::string block(65'536, 'x');
    sayReady();
    for (;;) {
        if (write(descriptor, block.data(), block.size()) < 0) _exit(3);
    }
}

/// Leaves a program behind that keeps what we write to open.
pid_t leaveBehind(bool inOurGroup, bool ignoresTermination) {
    const pid_t left = fork();
    if (left != 0) return left;
    if (!inOurGroup) setsid();
    if (ignoresTermination) std::signal(SIGTERM, SIG_IGN);
    sayReady();
    sleepUntilKilled();
}

void reportSurroundings() {
    std::string descriptors;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) descriptors += std::to_string(descriptor);
    }
    char byte = 0;
    char folder[4096] = "";
    std::cout << descriptors << (read(STDIN_FILENO, &byte, 1) == 0 ? " no input" : " input")
              << (getpgid(0) == getpid() ? " own group " : " shared group ")
              << (getcwd(folder, sizeof folder) ? folder : "?") << '\n';
    for (char** entry = environ; *entry; ++entry)
        std::cout << *entry << '\n';
}

}  // namespace

int main(int count, char** words) {
    const std::string_view mode = count > 1 ? words[1] : "";
    if (mode == "echo") {
        for (int i = 2; i < count; ++i)
            std::cout << '[' << words[i] << ']';
        std::cerr << "to the other side\n";
        return 7;
    } else if (mode == "surroundings") {
        reportSurroundings();
    } else if (mode == "signal") {
        kill(getpid(), SIGKILL);
    } else if (mode == "both at once") {
        // More than pipes hold, on both sides in turn: whoever reads one to its end first is stuck.
        const std::string block(200'000, 'x');
        std::cerr << block << std::flush;
        std::cout << block << std::flush;
        std::cerr << block << std::flush;
    } else if (mode == "flood") {
        flood(STDOUT_FILENO);
    } else if (mode == "flood errors") {
        flood(STDERR_FILENO);
    } else if (mode == "copy") {
        std::string block(65'536, 0);
        for (ssize_t size = 0; (size = read(STDIN_FILENO, block.data(), block.size())) > 0;)
            std::cout.write(block.data(), size).flush();
        std::cerr << "end of input";
    } else if (mode == "deaf") {
        close(STDIN_FILENO);
        sayReady();
        sleepUntilKilled();
    } else if (mode == "sleep") {
        sayReady();
        sleepUntilKilled();
    } else if (mode == "stubborn") {
        std::signal(SIGTERM, SIG_IGN);
        sayReady();
        sleepUntilKilled();
    } else if (mode == "leave") {
        std::cout << leaveBehind(true, false) << std::flush;
    } else if (mode == "leave stubborn") {
        leaveBehind(true, true);
        sleepUntilKilled();
    } else if (mode == "leave apart") {
        leaveBehind(false, true);
        sleepUntilKilled();
    }
    return 0;
}
