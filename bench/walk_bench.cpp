// The walk over a generated tree of real files, against find on the same tree, taking turns. Then what the watcher does
// when it starts: putting its marks on every folder, and finding what has changed since a bookmark.

#include "bench/FileTree.h"
#include "bench/Measure.h"
#include "platform/linux/disk/FolderWalk.h"
#include "platform/linux/watch/TreeWatch.h"
#include "tests/fakes/TemporaryFolder.h"

#include <chrono>
#include <set>
#include <stdexcept>
#include <thread>
#include <unordered_map>

namespace velmora::bench {
namespace {

std::size_t walk(const std::string& root) {
    FolderWalk walk(root, {});
    std::size_t count = 0;
    for (;;) {
        const auto batch = walk.next(5'000, [] { return false; });
        if (batch.empty()) return count;
        count += batch.size();
    }
}

double find(const std::string& root) {
    const auto time = runQuietly({"/usr/bin/find", root, "-printf", "%p %s %T@\n"});
    if (!time) throw std::runtime_error("find failed");
    return *time;
}

/// An index that knows the tree as it was when it was made.
class Host final : public WatchHost {
  public:
    explicit Host(const std::string& root) {
        FolderWalk walk(root, {});
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
    std::optional<std::vector<IndexedFile>> indexedChildren(const std::string& folder) override {
        return rows_[folder];
    }
    std::optional<std::vector<IndexedFile>> indexedBelow(const std::string&, const std::string&) override {
        return std::nullopt;
    }

    std::set<std::string> reported;

  private:
    std::unordered_map<std::string, std::vector<IndexedFile>> rows_;
};

void measure(const std::string& prefix, std::size_t entries, int rounds) {
    const auto wanted = [&](const std::string& name) { return name.starts_with(prefix) || prefix.starts_with(name); };
    if (!wanted("files.walk") && !wanted("files.watch")) return;
    const test::TemporaryFolder folder;
    const std::string root = folder.path() + "/tree";
    const std::size_t made = makeTree(root, entries);
    if (walk(root) != made) throw std::runtime_error("the walk missed entries");
    find(root);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(milliseconds([&] { walk(root); }));
        theirs.push_back(find(root));
    }
    const double reference = quantile(theirs, 0.5);
    const auto perSecond = [made](double time) { return static_cast<double>(made) * 1000 / time; };
    if (wanted("files.walk")) report("files.walk", perSecond(quantile(ours, 0.5)), "entries/s", perSecond(reference));
    if (!wanted("files.watch")) return;
    Host host(root);
    std::this_thread::sleep_for(std::chrono::seconds(3));  // clear of the slack that a bookmark is given
    const FileTime bookmark = fileTimeNow();
    const std::set<std::string> changed = changeThousand(root, entries);
    std::vector<double> marking;
    std::vector<double> looking;
    for (int round = 0; round < rounds; ++round) {
        marking.push_back(milliseconds([&] { TreeWatch(host, {root}, {}).begin(std::nullopt); }));
        looking.push_back(milliseconds([&] { TreeWatch(host, {root}, {}).begin(bookmark); }));
    }
    report("files.watch.mark", quantile(marking, 0.5), "ms", reference);
    report("files.watch.look", quantile(looking, 0.5), "ms", reference);
    if (!std::includes(host.reported.begin(), host.reported.end(), changed.begin(), changed.end()))
        throw std::runtime_error("the watcher missed changes");
}

}  // namespace
}  // namespace velmora::bench

int main(int count, char** arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    words.resize(3);
    const std::size_t entries = words[1].empty() ? 300'000 : std::stoul(words[1]);
    const int rounds = words[2].empty() ? 9 : std::stoi(words[2]);
    try {
        velmora::bench::measure(words[0], entries, rounds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "walk_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
