// What the filename index costs to write, to search and to delete from, next to plocate over the same names. Prints one
// line a metric: name, value, unit, reference, ratio, separated by tabs; "-" where there is no reference.
//
//   files_store_bench [--cpu] [prefix of the names to measure] [number of names, 1000000] [folder for the database]
//
// A prefix that begins with files.10m stands for the same metrics with ten million names.
//
// With --cpu, times are those of the processor instead of the wall, for machines that do other work meanwhile.

#include "app/storage/fileindex/FileIndexRepository.h"
#include "bench/Measure.h"
#include "bench/SyntheticFiles.h"
#include "platform/Runtime.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace velmora::bench {
namespace {

constexpr std::size_t batchSize = 5000;
std::size_t runs = 60;  // searches of each class
constexpr std::int64_t shown = 100;

/// plocate over a plain list of names.
class Peer {
  public:
    explicit Peer(std::string database) : database_(std::move(database)) {}

    void build(const std::string& names) {
        present_ = runQuietly({"/usr/sbin/plocate-build", "-p", "-l", "no", names, database_}).has_value();
    }

    /// Milliseconds for the matches of `fragment`; 0 without plocate.
    double search(std::vector<std::string> options) const {
        if (!present_) return 0;
        options.insert(options.begin(), {"/usr/bin/plocate", "-d", database_, "-i"});
        return runQuietly(options).value_or(0);
    }

  private:
    std::string database_;
    bool present_ = false;
};

/// One query and what the peer is asked for the same.
struct Question {
    std::string text;
    std::vector<std::string> peer;
};

class Subject {
  public:
    Subject(std::string folder, std::size_t names) : folder_(std::move(folder)), names_(names) {}

    void fillByTriggers() {
        static constexpr auto sql =
            "INSERT INTO file_index(path,name,parent,is_directory,size,modified) VALUES(?,?,?,?,?,?) "
            "ON CONFLICT(path) DO UPDATE SET name=excluded.name,parent=excluded.parent,"
            "is_directory=excluded.is_directory,size=excluded.size,modified=excluded.modified";
        const auto database = open("/triggers.sqlite");
        SyntheticFiles files;
        const std::size_t count = std::min<std::size_t>(names_, 300'000);
        double spent = 0;
        for (std::size_t written = 0; written < count; written += batchSize) {
            std::vector<std::vector<SQLValue>> rows;
            for (IndexedFile& file : files.next(batchSize)) {
                std::string parent = file.path.substr(0, file.path.size() - file.name.size() - 1);
                rows.push_back({file.path, file.name, std::move(parent), file.isDirectory, file.size, file.modified});
            }
            spent += milliseconds([&] { loop_.write([&] { return database->executeBatch(sql, rows); }); }) / 1000;
        }
        triggerRate_ = static_cast<double>(count) / spent;
        report("files.write.triggers", triggerRate_, "rows/s");
    }

    void fill() {
        database_ = open("/velmora.sqlite");
        repository_.emplace(database_, "/home/user", clock_);
        SyntheticFiles files;
        std::ofstream list(folder_ + "/names");
        std::vector<double> batches;
        const bool isFilled = loop_.run([&] { return repository_->count(); }) == static_cast<std::int64_t>(names_);
        while (batches.size() * batchSize < names_) {
            auto batch = files.next(batchSize);
            for (const IndexedFile& file : batch) {
                list << file.path << '\n';
                note(file);
            }
            batches.push_back(milliseconds([&] {
                if (!isFilled) loop_.write([&] { return repository_->upsert(batch); });
            }));
        }
        list.close();
        peer_.build(folder_ + "/names");
        if (isFilled) return;
        const double merging = milliseconds([&] {
            for (bool more = true; more;)
                more = loop_.run([&] { return repository_->mergeFTS(); });
        });
        report("files.merge", merging, "ms");
        double total = 0;
        for (const double batch : batches)
            total += batch;
        report("files.write", static_cast<double>(names_) * 1000 / total, "rows/s", triggerRate_);
        report("files.write.batch.p95", quantile(batches, 0.95), "ms");
        report("files.write.batch.max", quantile(batches, 1), "ms");
        report(
            "files.bytes",
            static_cast<double>(std::filesystem::file_size(folder_ + "/velmora.sqlite")) / static_cast<double>(names_),
            "B/name");
    }

    /// One class of queries: each question in turn, until there are enough answers.
    void search(const std::string& metric, const std::vector<Question>& questions, bool median) {
        std::vector<double> ours;
        std::vector<double> theirs;
        for (std::size_t i = 0; i < runs; ++i) {
            const Question& question = questions[i % questions.size()];
            ours.push_back(milliseconds(
                [&] { loop_.run([&] { return repository_->search(question.text, std::nullopt, shown); }); }));
            if (i < runs / 3) theirs.push_back(peer_.search(question.peer));
        }
        if (median) report(metric + ".p50", quantile(ours, 0.5), "ms", quantile(theirs, 0.5));
        report(metric + ".p95", quantile(ours, 0.95), "ms", quantile(theirs, 0.5));
    }

    [[nodiscard]] std::vector<Question> rareQuestions() const {
        std::vector<Question> questions;
        for (const auto& [fragment, count] : fragments_) {
            // One term, and no more matches than plocate is asked for: about a hundred of a million.
            const bool isRare = count <= 5 && fragment.find(' ') == std::string::npos;
            if (isRare && questions.size() < 20) questions.push_back({fragment, {"-b", "-l", "100", fragment}});
        }
        return questions;
    }

    /// Ten thousand entries in a folder of their own.
    void deleteTree() {
        std::vector<IndexedFile> tree;
        for (int i = 0; i < 10'000; ++i) {
            const std::string name = "entry" + std::to_string(i) + ".txt";
            tree.push_back({"/home/user/gone/" + std::to_string(i % 100) + "/" + name, name});
        }
        std::vector<double> times;
        for (int i = 0; i < 5; ++i) {
            loop_.write([&] { return repository_->upsert(tree); });
            times.push_back(
                milliseconds([&] { loop_.write([&] { return repository_->deleteTree("/home/user/gone"); }); }));
        }
        report("files.delete_tree", quantile(times, 0.5), "ms");
    }

    /// Four thousand paths that are gone, five hundred of them indexed folders, with what was in those.
    void deleteFlush() {
        std::vector<std::string> gone;
        std::vector<std::string> folders;
        for (const std::string& path : sampledFolders_) {
            if (folders.size() < 500) folders.push_back(path);
        }
        for (const std::string& path : sampledFiles_) {
            if (gone.size() + folders.size() < 4000) gone.push_back(path);
        }
        gone.insert(gone.end(), folders.begin(), folders.end());
        std::size_t found = 0;
        const auto before = loop_.run([&] { return repository_->count(); });
        const double whole = milliseconds([&] {
            const auto directories = loop_.run([&] { return repository_->directories(gone); });
            found = directories.size();
            loop_.write([&] { return repository_->deletePaths(gone); });
            loop_.write([&] { return repository_->deleteTrees({directories.begin(), directories.end()}); });
        });
        report("files.delete_flush", whole, "ms");
        const auto after = loop_.run([&] { return repository_->count(); });
        report("files.delete_flush.rows", static_cast<double>(before - after), "rows");
        if (found != folders.size() || gone.size() != 4000) std::abort();
    }

    /// Everything out, as a rebuild does first.
    void deleteAll() {
        const double time = milliseconds([&] { loop_.write([&] { return repository_->deleteTree("/home/user"); }); });
        report("files.delete_all", static_cast<double>(names_) * 1000 / time, "rows/s");
    }

    [[nodiscard]] bool isSound() {
        try {
            const char* const check = "INSERT INTO file_index_fts(file_index_fts,rank) VALUES('integrity-check',1)";
            loop_.write([&] { return database_->execute(check); });
            return true;
        } catch (const AppError&) {
            return false;
        }
    }

  private:
    std::shared_ptr<Database> open(const std::string& name) {
        return loop_.run([&] { return Database::open(folder_ + name, pool_.executor()); });
    }

    /// Remembers some of the names, to ask for and to delete later.
    void note(const IndexedFile& file) {
        ++noted_;
        if (noted_ % 211 == 0 && !file.isDirectory) sampledFiles_.push_back(file.path);
        // The deepest folders: those above them hold thousands of entries.
        if (noted_ % 50 == 0 && file.isDirectory && std::count(file.path.begin(), file.path.end(), '/') >= 7) {
            sampledFolders_.push_back(file.path);
        }
        if (noted_ % 5003 == 0 && file.name.size() > 8) fragments_.emplace(file.name.substr(2, 5), 0);
        if (noted_ > names_ - std::min<std::size_t>(names_, 50'000)) {
            for (auto& [fragment, count] : fragments_)
                count += file.name.find(fragment) != std::string::npos ? 1 : 0;
        }
    }

    Loop loop_;
    WorkerPool pool_{2};
    test::ManualClock clock_;
    std::string folder_;
    std::size_t names_;
    Peer peer_{folder_ + "/plocate.db"};
    std::shared_ptr<Database> database_;
    std::optional<FileIndexRepository> repository_;
    double triggerRate_ = 0;
    std::size_t noted_ = 0;
    std::vector<std::string> sampledFolders_;
    std::vector<std::string> sampledFiles_;
    std::map<std::string, int> fragments_;
};

std::vector<Question> questions(const std::vector<std::string>& texts, const std::vector<std::string>& options,
                                std::size_t skipped = 0) {
    std::vector<Question> all;
    for (const std::string& text : texts) {
        std::vector<std::string> peer = options;
        peer.push_back(text.substr(skipped));
        all.push_back({text, std::move(peer)});
    }
    return all;
}

int measure(const std::string& prefix, std::size_t names, const std::string& folder) {
    const auto wanted = [&](const std::string& name) { return name.starts_with(prefix) || prefix.starts_with(name); };
    const auto& all = {"files.write",  "files.bytes", "files.rare", "files.common", "files.prefix2",
                       "files.short2", "files.path",  "files.ext",  "files.folder", "files.delete"};
    if (std::none_of(all.begin(), all.end(), wanted)) return 0;
    Subject subject(folder, names);
    if (wanted("files.write")) subject.fillByTriggers();
    subject.fill();
    if (wanted("files.rare")) subject.search("files.rare", subject.rareQuestions(), true);
    if (wanted("files.common")) subject.search("files.common", questions({"lib"}, {"-b"}), false);
    if (wanted("files.prefix2")) {
        subject.search("files.prefix2", questions({"li", "ma", "qu", "so", "re", "un", "co", "fi"}, {"-b"}), false);
    }
    if (wanted("files.short2")) {
        subject.search(
            "files.short2",
            {{"qu or", {"-b", "qu"}}, {"li so", {"-b", "so"}}, {"ju n", {"-b", "ju"}}, {"e ym", {"-b", "ym"}}}, false);
    }
    if (wanted("files.path")) {
        subject.search("files.path",
                       questions({"path:Downloads", "path:Documents", "path:src", "path:work", "path:pictures"}, {}, 5),
                       false);
        subject.search("files.path_rare", questions({"path:index.10", "path:view-draft", "path:juxum"}, {}, 5), false);
        subject.search("files.path_and_term", {{"path:downloads lib", {"-b", "lib"}}, {"lib path:src", {"-b", "lib"}}},
                       false);
    }
    if (wanted("files.ext")) {
        subject.search("files.ext",
                       {{"ext:pdf", {"-b", ".pdf"}}, {"ext:docx", {"-b", ".docx"}}, {"ext:mp3", {"-b", ".mp3"}}},
                       false);
    }
    if (wanted("files.folder")) subject.search("files.folder_kind", {{"kind:folder", {"-b", "."}}}, false);
    if (wanted("files.delete_tree")) subject.deleteTree();
    if (wanted("files.delete_flush")) subject.deleteFlush();
    if (wanted("files.delete_all")) subject.deleteAll();
    if (!subject.isSound()) {
        std::fprintf(stderr, "The full-text index does not fit the names.\n");
        return 1;
    }
    return 0;
}

}  // namespace
}  // namespace velmora::bench

int main(int count, char** arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    velmora::bench::processorTime = std::erase(words, "--cpu") > 0;
    words.resize(3);
    const bool isLarge = words[0].starts_with("files.10m");
    if (isLarge) {
        velmora::bench::scale = "10m.";
        words[0].erase(5, 4);
        velmora::bench::runs = 20;
    }
    const std::size_t usual = isLarge ? 10'000'000 : 1'000'000;
    const std::size_t names = words[1].empty() ? usual : std::strtoul(words[1].c_str(), nullptr, 10);
    if (names == 0) {
        std::fprintf(stderr, "usage: files_store_bench [--cpu] [prefix] [names] [folder]\n");
        return 2;
    }
    const velmora::test::TemporaryFolder folder;
    return velmora::bench::measure(words[0], names, words[2].empty() ? folder.path() : words[2]);
}
