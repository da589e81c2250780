#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace velmora::test {

/// A folder of its own for a test, removed with everything in it.
class TemporaryFolder {
  public:
    explicit TemporaryFolder(const std::filesystem::path& place = std::filesystem::temp_directory_path()) {
        std::string pattern = (place / "velmora-test-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Writes a file, and the folders above it where they are missing; returns its path.
    std::string write(const std::string& relative, const std::string& contents) const {
        const std::filesystem::path path = path_ + "/" + relative;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << contents;
        return path;
    }

  private:
    std::string path_;
};

}  // namespace velmora::test
