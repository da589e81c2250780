#pragma once

#include <string>
#include <utility>

namespace velmora {

/// An open file descriptor, or none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    void reset() noexcept;

    /// Hands the descriptor over to somebody else.
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

    [[nodiscard]] int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

  private:
    int fd_ = -1;
};

/// Opens one entry of a folder for reading as a folder; never follows a symbolic link. None (see errno) otherwise.
Descriptor openSubfolder(int folder, const char* name);

/// Opens one entry of a folder without following a symbolic link or touching what is mounted there. None (see errno:
/// EXDEV for a mount) otherwise.
Descriptor openInMount(int folder, const char* name, int flags);

/// Opens a path of any length, its bytes as the system has them: paths that the system calls longer than they take are
/// opened piece by piece. None (see errno) on failure.
Descriptor openPath(const std::string& path, int flags);

/// The same below an open folder, for a path without a leading slash; never follows a symbolic link.
Descriptor openBelow(int folder, const std::string& path, int flags);

}  // namespace velmora
