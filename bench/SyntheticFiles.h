#pragma once

#include "core/files/IndexedFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::bench {

/// The names of a home folder with programming projects, photographs and documents, the same on every run: about ten
/// entries a folder, paths of about seventy bytes, one name in ten with "lib" in it. Hands them out in the order of a
/// walk.
class SyntheticFiles {
  public:
    static constexpr const char* root = "/home/user";

    SyntheticFiles() {
        for (const char* const first : syllables) {
            for (const char* const second : syllables) {
                words_.push_back(std::string(first) + second);
                for (const char* const third : {"er", "ing", "ion", "al", "or", "ity"})
                    words_.push_back(std::string(first) + second + third);
            }
        }
        std::shuffle(words_.begin(), words_.end(), random_);
        for (const char* const common : commonWords)
            words_.insert(words_.begin(), common);
    }

    /// The next `count` entries.
    std::vector<IndexedFile> next(std::size_t count) {
        std::vector<IndexedFile> batch;
        batch.reserve(count);
        while (batch.size() < count)
            batch.push_back(one());
        return batch;
    }

  private:
    static constexpr std::array syllables{"ab",  "bra", "cor", "dan", "el",  "fi",  "gro", "hel",  "in",  "jor",
                                          "kal", "lo",  "mar", "nu",  "or",  "pre", "qua", "ri",   "sto", "tan",
                                          "un",  "vel", "wor", "xen", "yar", "zon", "ach", "bene", "cy",  "dro",
                                          "eth", "fra", "glu", "hy",  "imp", "jux", "kno", "lum",  "myr", "neo",
                                          "opt", "phy", "rhe", "sym", "tri", "ult", "ver", "wix",  "yto", "zeb"};
    static constexpr std::array commonWords{
        "build", "main", "core",  "image", "data", "photo", "index",   "util", "report", "config", "model", "view",
        "file",  "base", "draft", "notes", "list", "map",   "library", "glib", "client", "server", "string"};
    static constexpr std::array extensions{".h",   ".cpp", ".c",    ".js",  ".json", ".png", ".jpg",
                                           ".py",  ".txt", ".html", ".so",  ".o",    ".md",  ".svg",
                                           ".pdf", ".ts",  ".xml",  ".mp3", ".docx", ".gz",  ""};
    static constexpr std::array areas{"Projects", "Documents",    "Pictures",     ".cache", "Downloads",
                                      "src",      ".local/share", "node_modules", "Music",  "work"};

    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

    /// Some words are far more frequent than others, as in any text.
    const std::string& word() {
        const double uniform = static_cast<double>(random_() >> 11U) * 0x1p-53;
        const auto rank = static_cast<std::size_t>(std::pow(static_cast<double>(words_.size()), uniform));
        return words_[std::min(rank, words_.size() - 1)];
    }

    std::string stem() {
        std::string name = below(100) < 5 ? "lib" : "";
        name += word();
        if (below(3) != 0) name += std::string(1, "_-. "[below(4)]) + word();
        if (below(3) == 0) name += std::to_string(below(3000));
        if (below(12) == 0) name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
        return name;
    }

    IndexedFile one() {
        if (left_ == 0) return folder();
        --left_;
        // The number keeps names within a folder apart.
        const double modified = 1.6e9 + static_cast<double>(below(100'000'000)) + 0.25;
        const std::string name = stem() + "~" + std::to_string(left_) + extensions[below(extensions.size())];
        return {folder_ + "/" + name, name, false, static_cast<std::int64_t>(below(1U << 24U)), modified};
    }

    /// A new folder, deeper than the last one or beside one of its ancestors.
    IndexedFile folder() {
        left_ = below(19);
        while (depth_.size() > 2 && (depth_.size() > 5 || below(2) == 0))
            depth_.pop_back();
        ++folders_;
        if (depth_.empty() || folders_ % 2000 == 0) depth_ = {std::string(root) + "/" + areas[below(areas.size())]};
        const std::string name = word() + (below(4) == 0 ? "-" + word() : "") + std::to_string(folders_);
        folder_ = depth_.back() + "/" + name;
        depth_.push_back(folder_);
        return {folder_, name, true, 0, 1.6e9 + static_cast<double>(below(100'000'000))};
    }

    std::mt19937_64 random_{20260};
    std::vector<std::string> words_;
    std::vector<std::string> depth_;
    std::string folder_;
    std::size_t left_ = 0;
    std::size_t folders_ = 0;
};

}  // namespace velmora::bench
