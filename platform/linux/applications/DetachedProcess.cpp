#include "platform/linux/applications/DetachedProcess.h"

#include "platform/linux/applications/Glib.h"

#include <fcntl.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace velmora {
namespace {

/// Runs between fork and exec: nothing but calls that are safe in a signal handler.
void becomeIndependent(gpointer) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

class Output {
  public:
    explicit Output(const std::string& label) : descriptor_(sd_journal_stream_fd(label.c_str(), 6, 0)) {
        if (descriptor_ < 0) descriptor_ = open("/dev/null", O_WRONLY | O_CLOEXEC);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

/// Ours without what was meant for us alone: the tokens of our own start.
glib::Strings environment() {
    gchar** all = g_get_environ();
    for (const char* const name : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN", "GIO_LAUNCHED_DESKTOP_FILE",
                                   "GIO_LAUNCHED_DESKTOP_FILE_PID", "NOTIFY_SOCKET", "INVOCATION_ID", "JOURNAL_STREAM"})
        all = g_environ_unsetenv(all, name);
    return glib::Strings(all);
}

}  // namespace

int DetachedProcess::start() const {
    std::vector<std::string> words = arguments;
    std::vector<char*> pointers;
    for (std::string& word : words) {
        if (word.find('\0') != std::string::npos) throw std::runtime_error("An argument holds a null byte");
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    const Output output(label);
    const glib::Strings variables = environment();
    GPid process = 0;
    GError* failure = nullptr;
    // Without G_SPAWN_DO_NOT_REAP_CHILD the process is a grandchild that the system reaps.
    const bool started =
        g_spawn_async_with_fds(directory.c_str(), pointers.data(), variables.get(), G_SPAWN_CLOEXEC_PIPES,
                               becomeIndependent, nullptr, &process, -1, output.get(), output.get(), &failure) != FALSE;
    const glib::Error error(failure);
    if (!started) throw std::runtime_error("The program could not be started");
    return process;
}

}  // namespace velmora
