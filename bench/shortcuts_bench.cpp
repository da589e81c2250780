// Measures the longest time for which the main loop does nothing else while shortcuts are listed and shown.
//
// usage: shortcuts_bench TOOL [PREFIX OF THE METRICS' NAMES]
//
// TOOL is velmora-shortcuts. It lists real files in a folder of its own; the service, the child process, the registry
// and the ranking are the program's. The main loop is an io_context whose every piece of work is timed. The reference
// is the same without any shortcut. Medians of the longest piece of each round; one line with tabs, as all benchmarks.

#include "app/services/quick/ShortcutsCLI.h"
#include "core/Assert.h"
#include "core/commands/CommandRegistry.h"
#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"

#include <sys/stat.h>
#include <algorithm>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <thread>

namespace velmora {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int shortcutCount = 500;
constexpr int rounds = 41;
constexpr int toggles = 5;

void makeShortcuts(const std::filesystem::path& folder, int count) {
    std::filesystem::create_directories(folder);
    for (int number = 0; number < count; ++number) {
        const auto script = folder / ("Tidy Folder " + std::to_string(number) + " And Report.sh");
        std::ofstream(script) << "#!/bin/sh\n";
        chmod(script.c_str(), 0755);
    }
}

/// One start: lists what there is, shows it, and toggles. The longest piece of work, in milliseconds.
double longestPiece(const std::string& tool, const std::string& home, std::size_t expected) {
    boost::asio::io_context loop;
    WorkerPool pool(3);
    SystemClock clock;
    LinuxChildProcesses processes(pool.executor(), home);
    const auto service = std::make_shared<ShortcutsService>(
        loop.get_executor(), clock,
        std::make_shared<ShortcutsCLI>(clock, processes, std::vector<std::string>{tool}));
    CommandRegistry registry;
    bool listed = false;
    const auto subscription = service->onUpdate([&] {
        std::vector<std::shared_ptr<const Command>> commands;
        commands.reserve(service->shortcuts().size());
        for (const ShortcutItem& item : service->shortcuts())
            commands.push_back(std::make_shared<const ShortcutCommand>(item, service));
        registry.replace(ShortcutCommand::prefix, std::move(commands));
        static_cast<void>(registry.ranked("", {}, clock, 60));
        listed = true;
    });
    double longest = 0;
    const auto timed = [&](const auto& work) {
        const auto began = SteadyClock::now();
        work();
        longest = std::max(longest, std::chrono::duration<double, std::milli>(SteadyClock::now() - began).count());
    };
    timed([&] { service->start(); });
    const auto guard = boost::asio::make_work_guard(loop);
    const auto deadline = SteadyClock::now() + std::chrono::seconds(30);
    while (!listed) {
        if (SteadyClock::now() > deadline) std::abort();  // the listing failed, as the log says
        // Waiting for something to do is no work; what is ready is timed piece by piece.
        if (loop.stopped()) loop.restart();
        std::size_t done = 0;
        timed([&] { done = loop.poll_one(); });
        if (done == 0) std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    for (int toggle = 0; toggle < toggles; ++toggle) {
        timed([&] {
            service->refresh();
            static_cast<void>(registry.ranked("", {}, clock, 60));
        });
    }
    if (service->shortcuts().size() != expected) std::abort();
    service->stop();
    loop.poll();
    return longest;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void measure(const std::string& tool) {
    std::string pattern = (std::filesystem::temp_directory_path() / "velmora-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    const std::filesystem::path root(pattern);
    makeShortcuts(root / "many/velmora/shortcuts", shortcutCount);
    makeShortcuts(root / "none/velmora/shortcuts", 0);
    std::vector<double> many;
    std::vector<double> none;
    for (int round = 0; round < rounds; ++round) {
        setenv("XDG_CONFIG_HOME", (root / "many").c_str(), 1);
        many.push_back(longestPiece(tool, root, shortcutCount));
        setenv("XDG_CONFIG_HOME", (root / "none").c_str(), 1);
        none.push_back(longestPiece(tool, root, 0));
    }
    std::filesystem::remove_all(root);
    std::printf("shortcuts.stall\t%.3f\tms\t%.3f\t%.2f\n", median(many), median(none), median(many) / median(none));
    std::fprintf(stderr, "shortcuts.stall: the worst of %d rounds took %.3f ms\n", rounds,
                 *std::ranges::max_element(many));
}

}  // namespace
}  // namespace velmora

int main(int count, char** words) {
    velmora::setMainThread();
    if (count < 2) return 2;
    const std::string_view prefix = count > 2 ? words[2] : "";
    if (std::string_view("shortcuts.stall").starts_with(prefix)) velmora::measure(std::filesystem::absolute(words[1]));
    return 0;
}
