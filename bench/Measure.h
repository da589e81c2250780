#pragma once

#include "core/async/Async.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <boost/asio/io_context.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::bench {

/// Whether times are those of the processor instead of the wall, for machines that do other work meanwhile.
inline bool processorTime = false;

inline double seconds(const timespec& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Seconds of the clock in use.
inline double now() {
    timespec time{};
    clock_gettime(processorTime ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return seconds(time);
}

template <class Work>
double milliseconds(Work work) {
    const double start = now();
    work();
    return (now() - start) * 1000;
}

/// The main thread: an `io_context` without the deadline that tests have.
class Loop {
  public:
    template <class Work>
    auto run(Work work) {
        std::optional<typename decltype(work())::value_type> result;
        write([&]() -> Task<> { result.emplace(co_await work()); });
        return std::move(result).value();
    }

    void write(const std::function<Task<>()>& work) {
        std::exception_ptr failure;
        const TaskHandle task = spawn(context_.get_executor(), [&]() -> Task<> {
            try {
                co_await work();
            } catch (...) {
                failure = std::current_exception();
            }
        });
        while (!task.done()) {
            context_.restart();
            context_.run_one_for(std::chrono::milliseconds(20));
        }
        if (failure) std::rethrow_exception(failure);
    }

    [[nodiscard]] MainExecutor executor() { return context_.get_executor(); }

  private:
    boost::asio::io_context context_;
};

/// The value that `share` of the sample stays below.
inline double quantile(std::vector<double> sample, double share) {
    if (sample.empty()) return 0;
    std::sort(sample.begin(), sample.end());
    return sample[std::min(sample.size() - 1, static_cast<std::size_t>(share * static_cast<double>(sample.size())))];
}

/// Part of the names of metrics that are measured at another scale than usual, with its dot.
inline std::string scale;

/// Prints the line of a metric; 0 for a reference that is not there.
inline void report(std::string name, double value, const char* unit, double reference = 0) {
    name.insert(name.find('.') + 1, scale);
    if (reference > 0) {
        std::printf("%s\t%.2f\t%s\t%.2f\t%.3f\n", name.c_str(), value, unit, reference, value / reference);
    } else {
        std::printf("%s\t%.2f\t%s\t-\t-\n", name.c_str(), value, unit);
    }
    std::fflush(stdout);
}

/// Runs a program with its output thrown away and returns how long it took, in milliseconds; nothing when it cannot
/// run.
inline std::optional<double> runQuietly(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    rusage used{};
    const double start = now();
    const int failed = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    if (failed == 0) wait4(child, &status, 0, &used);
    const double wall = (now() - start) * 1000;
    posix_spawn_file_actions_destroy(&actions);
    if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) return std::nullopt;  // 1: nothing found
    const auto spent = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
    };
    return processorTime ? spent(used.ru_utime) + spent(used.ru_stime) : wall;
}

}  // namespace velmora::bench
