// The walk over a generated tree of real files, against find on the same tree, taking turns. Then what the watcher does
// when it starts: putting its marks on every folder, and finding what has changed since a bookmark.

#include "platform/linux/FolderWalk.h"
#include "platform/linux/TreeWatch.h"

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
#include <set>
#include <stdexcept>
#include <thread>
#include <unordered_map>

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

/// An index that knows the tree as it was when it was made.
class Host final : public velmora::WatchHost {
  public:
    explicit Host(const std::string& root) {
        velmora::FolderWalk walk(root, {});
        for (;;) {
            auto batch = walk.next(5'000, [] { return false; });
            if (batch.empty()) return;
            for (auto& file : batch)
                rows_[file.path.substr(0, file.path.rfind('/'))].push_back(std::move(file));
        }
    }
    bool isStopped() override { return false; }
    void betweenFolders() override {}
    void report(std::string path) override { reported.insert(std::move(path)); }
    std::optional<std::vector<velmora::IndexedFile>> indexedChildren(const std::string& folder) override {
        return rows_[folder];
    }
    std::optional<std::vector<velmora::IndexedFile>> indexedBelow(const std::string&, const std::string&) override {
        return std::nullopt;
    }

    std::set<std::string> reported;

  private:
    std::unordered_map<std::string, std::vector<velmora::IndexedFile>> rows_;
};

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// A thousand files removed, changed and made, spread over the tree.
void change(const std::string& root, std::size_t entries) {
    const int projects = static_cast<int>(entries / 2'621);
    for (int i = 0; i < 1'000; ++i) {
        const std::string folder = root + "/project-" + std::to_string(i % std::max(projects, 1)) + "/library" +
                                   std::to_string(i % 20) + "/source_" + std::to_string(i % 10);
        const std::string file = folder + "/report-2026-" + std::to_string(i / 100) + ".txt";
        if (i % 3 == 0) {
            unlink(file.c_str());
        } else {
            const std::string name = i % 3 == 1 ? file : folder + "/new-" + std::to_string(i);
            const int fd = open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            if (fd >= 0 && write(fd, "x", 1) != 1) throw std::runtime_error("write " + name);
            close(fd);
        }
    }
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
        Host host(root);
        std::this_thread::sleep_for(std::chrono::seconds(3));  // clear of the slack that a bookmark is given
        const std::int64_t bookmark = microsecondsNow();
        change(root, entries);
        std::vector<double> marking, looking;
        for (int round = 0; round < rounds; ++round) {
            marking.push_back(measure([&] { velmora::TreeWatch(host, {root}, {}).begin(std::nullopt); }));
            looking.push_back(measure([&] { velmora::TreeWatch(host, {root}, {}).begin(bookmark); }));
        }
        std::printf("files.watch.mark\t%.0f\tms\t%.0f\t%.2f\n", median(marking) * 1e3, median(theirs) * 1e3,
                    median(marking) / median(theirs));
        std::printf("files.watch.look\t%.0f\tms\t%.0f\t%.2f\n", median(looking) * 1e3, median(theirs) * 1e3,
                    median(looking) / median(theirs));
        std::fprintf(stderr, "reported: %zu\n", host.reported.size());
        std::printf("files.walk\t%.0f\tentries/s\t%.0f\t%.2f\n", rate, reference, rate / reference);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "walk_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(root);
    return result;
}
