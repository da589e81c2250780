#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>

namespace velmora::test {

/// An X server without a screen, for as long as the test lives.
class VirtualDisplay {
  public:
    VirtualDisplay() {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        const std::string number = std::to_string(ends[1]);
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "320x200x24", "-nolisten", "tcp",
                   "-noreset", nullptr);
            _exit(127);
        }
        close(ends[1]);
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
            name_ += c;
        close(ends[0]);
        if (name_.empty()) throw std::runtime_error("Xvfb did not start");
        name_.insert(0, ":");
    }
    ~VirtualDisplay() { end(); }
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    [[nodiscard]] const std::string& name() const { return name_; }

    /// The server dies with everything on it.
    void end() {
        if (process_ <= 0) return;
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }

  private:
    pid_t process_ = -1;
    std::string name_;
};

}  // namespace velmora::test
