#include "platform/linux/process/SpawnedProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
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
    Descriptor readEnd;
    Descriptor writeEnd;

    static Pipe make() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) check(errno, "no pipe");
        Pipe made{Descriptor(ends[0]), Descriptor(ends[1])};
        if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) check(errno, "no pipe");
        return made;
    }
};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        if (text.find('\0') != std::string::npos) check(EINVAL, "a text for a program holds a null byte");
        all.push_back(text.data());
    }
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
    Pipe output = Pipe::make();
    Pipe errors = Pipe::make();
    FileActions actions;
    const Attributes attributes;
    check(posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0), "no input");
    check(posix_spawn_file_actions_adddup2(actions.get(), output.writeEnd.get(), STDOUT_FILENO), "no output");
    check(posix_spawn_file_actions_adddup2(actions.get(), errors.writeEnd.get(), STDERR_FILENO), "no output");
    check(posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1), "no closing");
    if (access(folder.c_str(), X_OK) == 0) {
        check(posix_spawn_file_actions_addchdir_np(actions.get(), folder.c_str()), "no folder");
    }
    SpawnedProcess spawned;
    check(posix_spawn(&spawned.process, request.executable.c_str(), actions.get(), attributes.get(),
                      pointers(words).data(), pointers(settings).data()),
          "the program could not be started");
    spawned.output = std::move(output.readEnd);
    spawned.errors = std::move(errors.readEnd);
    spawned.handle = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, spawned.process, 0)));
    if (!spawned.handle) {
        // Without a handle nobody would learn of its end.
        const int error = errno;
        kill(-spawned.process, SIGKILL);
        check(error, "the program cannot be followed");
    }
    return spawned;
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
