#include "app/services/applications/ApplicationIndexer.h"

#include "core/text/Text.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace velmora {
namespace {

namespace fs = std::filesystem;

// Far beyond any real installation; a link that leads out into a whole disk ends here.
constexpr int maximumDepth = 32;
constexpr std::size_t maximumEntries = 100'000;

constexpr std::size_t maximumNameCharacters = 256;
constexpr std::size_t maximumIdentifierCharacters = 4096;

/// One line of valid UTF-8: what a file says may hold anything, and ends up in a row of the list.
std::string displayText(std::string_view raw, std::size_t maximumCharacters) {
    const std::string valid = text::validUtf8(raw);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(valid.data());
    std::string line;
    line.reserve(valid.size());
    const auto length = static_cast<std::int32_t>(valid.size());
    for (std::int32_t i = 0; i < length;) {
        const std::int32_t start = i;
        UChar32 character = 0;
        U8_NEXT(bytes, i, length, character);
        const auto type = u_charType(character);
        if (type == U_CONTROL_CHAR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR) {
            line += ' ';
        } else {
            line.append(valid, static_cast<std::size_t>(start), static_cast<std::size_t>(i - start));
        }
    }
    return std::string(text::prefix(text::trimmed(line), maximumCharacters));
}

class Walk {
  public:
    Walk(const ApplicationBundles& bundles, std::stop_token stop) : bundles_(bundles), stop_(std::move(stop)) {}

    void root(const std::string& root) {
        visited_.clear();
        entries_ = 0;
        std::vector<Folder> linked;
        std::vector<Folder> open{{root, 0}};
        // Folders before links to folders: what can be reached without a link is found under its own name.
        while (!open.empty() || !linked.empty()) {
            auto& next = open.empty() ? linked : open;
            const Folder folder = std::move(next.back());
            next.pop_back();
            if (isNew(folder.path)) list(folder, root, open, linked);
        }
    }

    std::vector<ApplicationRecord> sorted() && {
        std::erase_if(found_, [](const Found& application) { return application.hidden; });
        // One root may lie in another, and a desktop entry then has another identifier in each.
        std::unordered_set<std::string> paths;
        std::erase_if(found_, [&](const Found& application) { return !paths.insert(application.record.path).second; });
        std::ranges::stable_sort(found_, [](const Found& left, const Found& right) {
            return text::compareStandard(left.record.name, right.record.name) < 0;
        });
        std::vector<ApplicationRecord> records;
        records.reserve(found_.size());
        for (Found& application : found_)
            records.push_back(std::move(application.record));
        return records;
    }

  private:
    struct Folder {
        fs::path path;
        int depth;
    };
    struct Entry {
        std::string name;
        bool isDirectory = false;
        bool isLink = false;
    };
    struct Found {
        ApplicationRecord record;
        bool hidden;
    };

    bool isNew(const fs::path& folder) {
        if (stop_.stop_requested()) throw Cancelled{};
        std::error_code missing;
        const fs::path real = fs::canonical(folder, missing);
        return !missing && visited_.insert(real).second;
    }

    void list(const Folder& folder, const std::string& root, std::vector<Folder>& open, std::vector<Folder>& linked) {
        std::vector<Entry> entries = read(folder.path);
        std::ranges::sort(entries, {}, &Entry::name);  // the disk's own order changes from scan to scan
        const auto firstOpened = static_cast<std::ptrdiff_t>(open.size());
        for (const Entry& entry : entries) {
            if (bundles_.isApplicationName(entry.name, entry.isDirectory)) {
                add(folder.path / entry.name, root);
            } else if (entry.isDirectory && folder.depth < maximumDepth) {
                (entry.isLink ? linked : open).push_back({folder.path / entry.name, folder.depth + 1});
            }
        }
        std::reverse(open.begin() + firstOpened, open.end());  // the last is taken first
    }

    std::vector<Entry> read(const fs::path& folder) {
        std::vector<Entry> entries;
        std::error_code failure;
        for (fs::directory_iterator it(folder, failure), end; !failure && it != end; it.increment(failure)) {
            if (++entries_ > maximumEntries) break;
            Entry entry{it->path().filename().string()};
            if (entry.name.starts_with('.')) continue;
            std::error_code vanished;
            entry.isDirectory = it->is_directory(vanished);
            entry.isLink = it->is_symlink(vanished);
            entries.push_back(std::move(entry));
        }
        return entries;
    }

    void add(const fs::path& path, const std::string& root) {
        if (stop_.stop_requested()) throw Cancelled{};
        const auto bundle = bundles_.read(path.string(), root);
        std::error_code ignored;
        if (!bundle && !fs::exists(path, ignored)) return;  // gone since its folder was read
        const BundleInformation information = bundle.value_or(BundleInformation{});
        std::string identifier = information.identifier.value_or("");
        if (identifier.empty()) identifier = path.string();
        Found found{{displayText(information.displayName.value_or(""), maximumNameCharacters),
                     displayText(identifier, maximumIdentifierCharacters), path.string()},
                    information.hidden};
        if (found.record.name.empty()) found.record.name = displayText(path.stem().string(), maximumNameCharacters);
        const auto [known, isFirst] = positions_.try_emplace(std::move(identifier), found_.size());
        if (isFirst) {
            found_.push_back(std::move(found));
        } else {
            found_[known->second] = std::move(found);
        }
    }

    const ApplicationBundles& bundles_;
    std::stop_token stop_;
    std::set<fs::path> visited_;  // links resolved
    std::size_t entries_ = 0;
    std::vector<Found> found_;
    std::unordered_map<std::string, std::size_t> positions_;  // identifier → index in `found_`
};

}  // namespace

ApplicationIndexer::ApplicationIndexer(const Executor& pool, std::shared_ptr<const ApplicationBundles> bundles)
    : actor_(pool), bundles_(std::move(bundles)) {}

Task<std::vector<ApplicationRecord>> ApplicationIndexer::scan() {
    const auto walk = [bundles = bundles_](std::stop_token stop) {
        Walk all(*bundles, std::move(stop));
        for (const std::string& root : bundles->roots())
            all.root(root);
        return std::move(all).sorted();
    };
    co_return co_await actor_.run(walk);
}

}  // namespace velmora
