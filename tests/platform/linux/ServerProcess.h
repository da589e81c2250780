#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::test {

/// A server for as long as the test lives, which says in its first line where it is.
class ServerProcess {
  public:
    explicit ServerProcess(std::vector<const char*> command) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        command.push_back(nullptr);
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[1], STDOUT_FILENO);
            execvp(command[0], const_cast<char* const*>(command.data()));
            _exit(127);
        }
        close(ends[1]);
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
            line_ += c;
        close(ends[0]);
        if (line_.empty()) throw std::runtime_error(std::string(command[0]) + " did not start");
    }
    ~ServerProcess() { end(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    [[nodiscard]] const std::string& line() const { return line_; }

    /// Takes connections from now on and says nothing.
    void freeze() const { kill(process_, SIGSTOP); }

    void end() {
        if (process_ <= 0) return;
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }

  private:
    pid_t process_ = -1;
    std::string line_;
};

}  // namespace velmora::test
