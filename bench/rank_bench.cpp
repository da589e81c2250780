// What one keystroke costs in the commands mode: CommandRegistry::ranked over many commands, next to the least that any
// ranking must do, a pass of memmem over the same folded titles. Prints one line a metric: name, value, unit,
// reference, ratio, separated by tabs. Takes a prefix of the names to measure.

#include "core/commands/CommandRegistry.h"
#include "core/text/Text.h"
#include "platform/Runtime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace velmora {
namespace {

constexpr std::size_t shownRows = 60;
constexpr std::size_t runs = 101;

/// What is typed on the way to a few titles, and what matches nothing.
constexpr std::array queries = {"",     "f",       "e",     "fi",     "fir", "firef",        "set",
                                "edit", "notes 1", "graph", "wörter", "zqx", "open terminal"};

constexpr std::array firstWords = {"Open",  "Fire",  "Text",   "System", "Disk",
                                   "Photo", "Music", "Wörter", "Graph",  "Quick"};
constexpr std::array secondWords = {"Editor", "Terminal", "Settings", "Notes", "Finder", "Player", "Monitor", "Café"};

std::vector<CommandResult> commands(std::size_t count) {
    std::vector<CommandResult> all(count);
    for (std::size_t i = 0; i < count; ++i) {
        CommandResult& result = all[i];
        const std::string number = std::to_string(i);
        const std::string first = firstWords.at(i % firstWords.size());
        const std::string second = secondWords.at((i / firstWords.size()) % secondWords.size());
        result.id = "app:/usr/share/applications/" + number + ".desktop";
        result.title = first + " " + second + " " + number;
        result.keywords = {"application", second + "s", "org.example." + first + number};
    }
    return all;
}

/// One size: the registry filled and its folded titles.
class Subject {
  public:
    explicit Subject(std::size_t count) {
        std::vector<CommandRegistry::CommandPointer> all;
        for (CommandResult& result : commands(count)) {
            titles_.push_back(text::fold(result.title));
            if (all.size() % 50 == 0) usages_[result.id] = {3, clock_.now() - std::chrono::hours(30)};
            all.push_back(std::make_shared<StaticCommand>(std::move(result)));
        }
        registry_.replace("app:", std::move(all));
        for (const char* query : queries)
            folded_.push_back(text::fold(query));
    }

    /// Microseconds a keystroke, over every query.
    double rank() {
        return timed([this] {
            for (const char* query : queries)
                found_ += registry_.ranked(query, usages_, clock_, shownRows).size();
        });
    }

    double pass() {
        return timed([this] {
            for (const std::string& query : folded_) {
                for (const std::string& title : titles_)
                    found_ += memmem(title.data(), title.size(), query.data(), query.size()) != nullptr;
            }
        });
    }

    /// Something that depends on all of the work, so that none of it can be left out.
    [[nodiscard]] std::size_t found() const { return found_; }

  private:
    template <class Work>
    static double timed(Work work) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - begin;
        return taken.count() / static_cast<double>(queries.size());
    }

    SystemClock clock_;
    CommandRegistry registry_;
    UsageMap usages_;
    std::vector<std::string> titles_;
    std::vector<std::string> folded_;
    std::size_t found_ = 0;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void print(const char* name, double value, double reference) {
    std::printf("%s\t%.1f\tus\t%.1f\t%.2f\n", name, value, reference, value / reference);
}

int measure(const std::string& prefix) {
    const auto wanted = [&](std::string_view name) { return name.starts_with(prefix); };
    if (!wanted("rank.5k") && !wanted("rank.50k")) return 0;
    Subject small(5'000);
    std::vector<double> ranked;
    std::vector<double> passed;
    std::size_t found = small.found();
    small.rank();  // the first keystroke folds the titles
    for (std::size_t i = 0; i < runs; ++i) {
        ranked.push_back(small.rank());
        passed.push_back(small.pass());
    }
    found += small.found();
    if (wanted("rank.5k")) print("rank.5k", median(ranked), median(passed));
    if (wanted("rank.50k")) {
        Subject large(50'000);
        large.rank();
        std::vector<double> rankedLarge;
        ranked.clear();
        for (std::size_t i = 0; i < runs / 3; ++i) {
            ranked.push_back(small.rank());
            rankedLarge.push_back(large.rank());
        }
        found += large.found();
        print("rank.50k", median(rankedLarge), median(ranked));
    }
    return found == 0;
}

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
    return velmora::measure(argc > 1 ? argv[1] : "");
}
