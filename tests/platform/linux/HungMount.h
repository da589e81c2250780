#pragma once

#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>

#include <string>

namespace velmora::test {

/// Gives the process a mount list of its own, which threads made from here on share. False where only root may.
inline bool ownMountList() {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// A mount whose program never answers: whoever touches it waits until this is destroyed.
class HungMount {
  public:
    explicit HungMount(std::string path) : path_(std::move(path)), program_(open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
        const std::string options = "fd=" + std::to_string(program_.get()) + ",rootmode=40000,user_id=0,group_id=0";
        if (mount("none", path_.c_str(), "fuse", 0, options.c_str()) != 0) program_.reset();
    }
    ~HungMount() {
        if (!program_) return;
        program_.reset();
        umount2(path_.c_str(), MNT_DETACH);
    }
    HungMount(const HungMount&) = delete;
    HungMount& operator=(const HungMount&) = delete;

    explicit operator bool() const { return static_cast<bool>(program_); }

  private:
    std::string path_;
    Descriptor program_;
};

}  // namespace velmora::test
