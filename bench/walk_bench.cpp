// The walk over a generated tree of real files, against find on the same tree, taking turns.

#include "platform/linux/FolderWalk.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

extern char** environ;

namespace {

using Seconds = std::chrono::duration<double>;

constexpr int filesPerFolder = 12;

/// About `entries` entries: three levels of folders with a dozen empty files in each of the deepest.
std::size_t makeTree(const std::string& root, std::size_t entries) {
    std::size_t made = 0;
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

template <class Work>
double measure(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

std::size_t walk(const std::string& root) {
    velmora::FolderWalk walk(root, {});
    std::size_t count = 0;
    for (;;) {
        const auto batch = walk.next(5'000, [] { return false; });
        if (batch.empty()) return count;
        count += batch.size();
    }
}

void find(const std::string& root) {
    std::string program = "/usr/bin/find", action = "-printf", format = "%p %s %T@\n", where = root;
    char* arguments[] = {program.data(), where.data(), action.data(), format.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 1;
    if (posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ) == 0) waitpid(child, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) throw std::runtime_error("find failed");
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t entries = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 300'000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 9;
    std::string root = (std::filesystem::temp_directory_path() / "velmora-walk-XXXXXX").string();
    if (!mkdtemp(root.data())) return 1;
    int result = 0;
    try {
        const auto made = static_cast<double>(makeTree(root, entries));
        if (static_cast<double>(walk(root)) != made) throw std::runtime_error("the walk missed entries");
        find(root);
        std::vector<double> ours, theirs;
        for (int round = 0; round < rounds; ++round) {
            ours.push_back(measure([&] { walk(root); }));
            theirs.push_back(measure([&] { find(root); }));
        }
        const double rate = made / median(ours), reference = made / median(theirs);
        std::printf("files.walk\t%.0f\tentries/s\t%.0f\t%.2f\n", rate, reference, rate / reference);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "walk_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(root);
    return result;
}
