#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace velmora::test {

inline void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) throw std::runtime_error("mkdir " + path);
}

inline void makeFile(const std::string& path, std::string_view content = "x") {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file.flush()) throw std::runtime_error("write " + path);
}

/// A chain of `depth` folders that all have the same name, made below `root` without ever naming the whole path;
/// leaves a file "bottom" in the last one. Removed again by its destructor, which a path could not do.
class DeepChain {
  public:
    DeepChain(const std::string& root, std::string name, int depth) : root_(root), name_(std::move(name)) {
        int folder = open(root.c_str(), O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; i < depth; ++i) {
            if (mkdirat(folder, name_.c_str(), 0700) != 0) throw std::runtime_error("mkdirat");
            const int next = openat(folder, name_.c_str(), O_DIRECTORY | O_CLOEXEC);
            close(folder);
            folder = next;
        }
        close(openat(folder, "bottom", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        close(folder);
    }

    ~DeepChain() {
        // Each round takes the second folder of the chain out, so that no more than two are open.
        const int root = open(root_.c_str(), O_DIRECTORY | O_CLOEXEC);
        for (;;) {
            const int first = openat(root, name_.c_str(), O_DIRECTORY | O_CLOEXEC);
            if (first < 0) break;
            unlinkat(first, "bottom", 0);
            const bool deeper = renameat(first, name_.c_str(), root, "moved-up") == 0;
            close(first);
            unlinkat(root, name_.c_str(), AT_REMOVEDIR);
            if (!deeper || renameat(root, "moved-up", root, name_.c_str()) != 0) break;
        }
        close(root);
    }
    DeepChain(const DeepChain&) = delete;
    DeepChain& operator=(const DeepChain&) = delete;

  private:
    std::string root_;
    std::string name_;
};

}  // namespace velmora::test
