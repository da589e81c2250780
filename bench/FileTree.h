#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>

namespace velmora::bench {

inline constexpr int filesPerFolder = 12;

/// About `entries` entries: three levels of folders with a dozen empty files in each of the deepest.
inline std::size_t makeTree(const std::string& root, std::size_t entries) {
    std::size_t made = 0;
    if (mkdir(root.c_str(), 0700) != 0) throw std::runtime_error("mkdir " + root);
    const auto folder = [&](const std::string& path) {
        if (mkdir(path.c_str(), 0700) != 0) throw std::runtime_error("mkdir " + path);
        ++made;
    };
    for (int i = 0; made < entries; ++i) {
        const std::string outer = root + "/project-" + std::to_string(i);
        folder(outer);
        for (int j = 0; j < 20 && made < entries; ++j) {
            const std::string middle = outer + "/library" + std::to_string(j);
            folder(middle);
            for (int k = 0; k < 10 && made < entries; ++k) {
                const std::string inner = middle + "/source_" + std::to_string(k);
                folder(inner);
                for (int n = 0; n < filesPerFolder; ++n, ++made) {
                    const std::string file = inner + "/report-2026-" + std::to_string(n) + ".txt";
                    const int fd = open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
                    if (fd < 0) throw std::runtime_error("open " + file);
                    close(fd);
                }
            }
        }
    }
    return made;
}

/// Removes, changes or makes a thousand files of a tree of `entries`, spread over it, and returns their paths.
inline std::set<std::string> changeThousand(const std::string& root, std::size_t entries) {
    const int projects = static_cast<int>(entries / 2'621);
    std::set<std::string> changed;
    for (int i = 0; i < 1'000; ++i) {
        const std::string folder = root + "/project-" + std::to_string(i % std::max(projects, 1)) + "/library" +
                                   std::to_string(i % 20) + "/source_" + std::to_string(i % 10);
        std::string file = folder + "/report-2026-" + std::to_string(i / 100) + ".txt";
        if (i % 3 == 0) {
            unlink(file.c_str());
        } else {
            if (i % 3 == 2) file = folder + "/new-" + std::to_string(i);
            const int fd = open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            if (fd >= 0 && write(fd, "x", 1) != 1) throw std::runtime_error("write " + file);
            close(fd);
        }
        changed.insert(file);
    }
    return changed;
}

}  // namespace velmora::bench
