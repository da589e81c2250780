#pragma once

#include "app/storage/fileindex/FileIndexRepository.h"
#include "tests/app/storage/StorageFixture.h"

#include <initializer_list>

namespace velmora::test {

/// An entry whose name is the last component of its path.
inline IndexedFile file(const std::string& path, std::int64_t size = 1, double modified = 0) {
    return {path, path.substr(path.rfind('/') + 1), false, size, modified};
}

inline IndexedFile folderAt(const std::string& path) {
    return {path, path.substr(path.rfind('/') + 1), true, 0, 0};
}

/// A filename index in a fresh database, home folder "/home/u".
class FileIndexTest : public StorageTest {
  protected:
    void upsert(const std::vector<IndexedFile>& files) {
        loop.run([&] { return index.upsert(files); });
    }
    void deletePaths(const std::vector<std::string>& paths) {
        loop.run([&] { return index.deletePaths(paths); });
    }
    void deleteTree(const std::string& tree) {
        loop.run([&] { return index.deleteTree(tree); });
    }

    /// The paths that `text` finds, in order, separated by spaces.
    std::string search(const std::string& text, std::optional<std::string> scope = {}, std::int64_t limit = 100) {
        return paths(loop.run([&] { return index.search(text, scope, limit); }));
    }
    static std::string paths(const std::vector<IndexedFile>& files) {
        std::string all;
        for (const IndexedFile& found : files)
            all += (all.empty() ? "" : " ") + found.path;
        return all;
    }
    /// Every indexed path, in order.
    std::string everything() {
        std::string all;
        for (const Row& row : rows("SELECT path FROM file_index ORDER BY path"))
            all += (all.empty() ? "" : " ") + std::string(row.text("path").value_or(""));
        return all;
    }

    /// Whether the full-text index has exactly the words of the names.
    bool isSound() {
        return failureOf([&] {
                   execute("INSERT INTO file_index_fts(file_index_fts,rank) VALUES('integrity-check',1)");
               }) == "";
    }

    FileIndexRepository index{database, "/home/u", clock};
};

}  // namespace velmora::test
