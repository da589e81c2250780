// What one search of a full clipboard history costs, from the question to the rows to show, next to the least that any
// substring search must do, a pass of memmem over the same bytes. Prints one line a metric: name, value, unit,
// reference, ratio, separated by tabs. Takes a prefix of the names to measure.

#include "app/services/clipboard/ClipboardService.h"
#include "platform/Runtime.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

namespace velmora {
namespace {

constexpr std::size_t entries = 10'000;
constexpr std::size_t entryBytes = 2'048;
constexpr std::size_t rounds = 25;
constexpr std::string_view name = "clip.search.p95";

/// What is typed on the way to one text, what is in every text, and what is in none.
constexpr std::array queries = {
    "",           "e",       "th",   "the",           "quart",     "quarterly 77",         "function",
    "entry 9999", "entry 1", "zqxj", "no such words", "übung 500", "HTTPS://EXAMPLE.ORG/4"};

std::vector<std::string> texts() {
    constexpr std::array words = {"the",    "quarterly", "report", "function", "return",  "of",    "and", "übung",
                                  "window", "x = 1;",    "see",    "figures",  "because", "a",     "in",  "deadline",
                                  "const",  "int",       "main()", "\n",       "Straße",  "today", "\t",  "note"};
    std::mt19937 random(1);
    std::vector<std::string> all;
    for (std::size_t i = 0; i < entries; ++i) {
        std::string text = "entry " + std::to_string(i) + " https://example.org/" + std::to_string(i) + "\n";
        while (text.size() < entryBytes)
            text += std::string(words.at(random() % words.size())) + (random() % 50 == 0 ? std::to_string(i) : " ");
        text.resize(entryBytes);
        all.push_back(std::move(text));
    }
    return all;
}

/// In milliseconds.
struct Taken {
    double wall = 0;
    double processor = 0;  // of all threads
};

double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

template <class Work>
Taken measured(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    const double processor = processorTime();
    work();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - begin;
    return {wall.count(), processorTime() - processor};
}

double percentile95(std::vector<Taken> values, double Taken::*kind) {
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 95 / 100);
    std::ranges::nth_element(values, at, {}, kind);
    return (*at).*kind;
}

/// A history on a real database file, filled to the brim.
class Subject {
  public:
    Subject() {
        std::vector<std::vector<SQLValue>> rows;
        double time = 0;
        for (const std::string& text : texts_)
            rows.push_back({"id" + std::to_string(rows.size()), text, "text", time += 1, nullptr});
        loop_.run([&] {
            return database_->executeBatch("INSERT INTO clipboard_history VALUES(?,?,?,?,?)", std::move(rows));
        });
    }

    std::size_t search(const std::string& query) {
        const auto work = [&]() -> Task<std::size_t> {
            const auto results = co_await service_->search(query, std::nullopt);
            co_return results.size();
        };
        return loop_.run(work);
    }

    [[nodiscard]] std::size_t pass(std::string_view query) const {
        return static_cast<std::size_t>(std::ranges::count_if(texts_, [&](const std::string& text) {
            return memmem(text.data(), text.size(), query.data(), query.size()) != nullptr;
        }));
    }

  private:
    test::TestLoop loop_;
    test::TemporaryFolder folder_;
    WorkerPool pool_{3};
    SystemClock clock_;
    test::FakePasteboard pasteboard_;
    test::FakeFrontmostApplication frontmost_;
    std::vector<std::string> texts_ = texts();
    std::shared_ptr<Database> database_ =
        loop_.run([&] { return Database::open(folder_.path() + "/velmora.sqlite", pool_.executor()); });
    std::shared_ptr<ClipboardService> service_ = std::make_shared<ClipboardService>(
        loop_.executor(), pool_.executor(), clock_, pasteboard_, frontmost_, ClipboardRepository(database_, clock_));
};

int measure(std::string_view prefix) {
    if (!name.starts_with(prefix)) return 0;
    Subject subject;
    std::vector<Taken> searched;
    std::vector<Taken> passed;
    std::size_t found = 0;
    for (std::size_t round = 0; round <= rounds; ++round) {
        for (const char* const query : queries) {
            const Taken search = measured([&] { found += subject.search(query); });
            const Taken pass = measured([&] { found += subject.pass(query); });
            if (round == 0) continue;  // fills the caches
            searched.push_back(search);
            passed.push_back(pass);
        }
    }
    for (const auto kind : {&Taken::wall, &Taken::processor}) {
        const double value = percentile95(searched, kind);
        const double reference = percentile95(passed, kind);
        const char* const ending = kind == &Taken::wall ? "" : ".cpu";
        std::printf("%s%s\t%.2f\tms\t%.2f\t%.2f\n", name.data(), ending, value, reference, value / reference);
    }
    return found == 0;
}

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
    return velmora::measure(argc > 1 ? argv[1] : "");
}
