#include "platform/linux/process/SpawnedProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <system_error>

namespace velmora {
namespace {

constexpr std::array variables{
    "HOME",
    "USER",
    "LOGNAME",
    "SHELL",
    "PATH",
    "TMPDIR",
    "LANG",
    "LANGUAGE",
    "TZ",
    "DISPLAY",
    "WAYLAND_DISPLAY",
    "XAUTHORITY",
    "DBUS_SESSION_BUS_ADDRESS",
    "DBUS_SYSTEM_BUS_ADDRESS",
};
constexpr std::array families{"LC_", "XDG_"};
// Tokens of our own start, of use to nobody else.
constexpr std::array excluded{"XDG_ACTIVATION_TOKEN"};

void check(int error, const char* what) {
    if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

class FileActions {
  public:
    FileActions() { check(posix_spawn_file_actions_init(&actions_), "no file actions"); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    [[nodiscard]] posix_spawn_file_actions_t* get() { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

class Attributes {
  public:
    Attributes() {
        check(posix_spawnattr_init(&attributes_), "no spawn attributes");
        sigset_t none;
        sigemptyset(&none);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

struct Pipe {
    Descriptor ours;
    Descriptor theirs;
};

/// The pipe behind one of the program's descriptors, or /dev/null.
Pipe connect(FileActions& actions, int descriptor, bool isPiped) {
    const bool isInput = descriptor == STDIN_FILENO;
    if (!isPiped) {
        const int mode = isInput ? O_RDONLY : O_WRONLY;
        check(posix_spawn_file_actions_addopen(actions.get(), descriptor, "/dev/null", mode, 0), "no file actions");
        return {};
    }
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) check(errno, "no pipe");
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    Pipe made{std::move(isInput ? writeEnd : readEnd), std::move(isInput ? readEnd : writeEnd)};
    if (fcntl(made.ours.get(), F_SETFL, O_NONBLOCK) != 0) check(errno, "no pipe");
    check(posix_spawn_file_actions_adddup2(actions.get(), made.theirs.get(), descriptor), "no file actions");
    return made;
}

/// Ends with a null pointer, as the system wants it.
std::vector<char*> pointers(std::vector<std::string>& texts, std::vector<Secret>* secrets = nullptr) {
    std::vector<char*> all;
    const auto add = [&all](char* text, std::string_view whole) {
        if (whole.find('\0') != std::string_view::npos) check(EINVAL, "a text for a program holds a null byte");
        all.push_back(text);
    };
    for (std::string& text : texts)
        add(text.data(), text);
    for (std::size_t i = 0; secrets && i < secrets->size(); ++i)
        add((*secrets)[i].data(), (*secrets)[i].view());
    all.push_back(nullptr);
    return all;
}

}  // namespace

SpawnedProcess SpawnedProcess::start(const ChildProcessRequest& request, const std::string& folder,
                                     const std::vector<std::string>& environment) {
    if (!request.executable.starts_with('/')) check(EINVAL, "a program is named by its whole path");
    std::vector<std::string> words = request.arguments;
    words.insert(words.begin(), request.executable);
    std::vector<std::string> settings = environment;
    FileActions actions;
    const Attributes attributes;
    Pipe input = connect(actions, STDIN_FILENO, request.hasInput);
    Pipe output = connect(actions, STDOUT_FILENO, request.hasOutput);
    Pipe errors = connect(actions, STDERR_FILENO, request.errors != ErrorOutput::discard);
    check(posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1), "no file actions");
    if (access(folder.c_str(), X_OK) == 0) {
        check(posix_spawn_file_actions_addchdir_np(actions.get(), folder.c_str()), "no file actions");
    }
    SpawnedProcess spawned;
    check(posix_spawn(&spawned.process, request.executable.c_str(), actions.get(), attributes.get(),
                      pointers(words).data(), pointers(settings, request.secretEnvironment.get()).data()),
          "the program could not be started");
    spawned.input = std::move(input.ours);
    spawned.output = std::move(output.ours);
    spawned.errors = std::move(errors.ours);
    spawned.handle = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, spawned.process, 0)));
    if (!spawned.handle) {
        // Without a handle nobody would learn of its end.
        const int error = errno;
        kill(-spawned.process, SIGKILL);
        while (waitpid(spawned.process, nullptr, 0) < 0 && errno == EINTR) {
        }
        check(error, "the program cannot be followed");
    }
    return spawned;
}

WriteResult writeToPipe(int descriptor, std::string_view bytes) {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigset_t before;
    sigset_t pending;
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    sigpending(&pending);
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    const int error = written < 0 ? errno : 0;
    if (error == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
        constexpr timespec now{};
        sigtimedwait(&pipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return {static_cast<std::size_t>(std::max<ssize_t>(written, 0)), error};
}

std::vector<std::string> minimalEnvironment() {
    std::vector<std::string> kept;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view whole(*entry);
        const std::string_view name = whole.substr(0, whole.find('='));
        const bool named = std::ranges::find(variables, name) != variables.end();
        const bool related =
            std::ranges::any_of(families, [name](std::string_view family) { return name.starts_with(family); });
        if ((named || related) && std::ranges::find(excluded, name) == excluded.end()) kept.emplace_back(whole);
    }
    return kept;
}

}  // namespace velmora
