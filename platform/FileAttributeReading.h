#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

/// What the disk says of one path.
struct ScannedAttributes {
    bool isDirectory = false;
    std::int64_t size = 0;  ///< bytes; of a folder, what the file system gives for it
    double modified = 0;    ///< whole seconds since 1970 UTC

    friend bool operator==(const ScannedAttributes&, const ScannedAttributes&) = default;
};

/// Examines single paths.
///
/// Runs on: any thread; the call reads the disk.
class FileAttributeReading {
  public:
    virtual ~FileAttributeReading() = default;

    /// Nothing when the path does not exist or cannot be examined. Symbolic links are followed; one that leads nowhere
    /// is told of itself.
    [[nodiscard]] virtual std::optional<ScannedAttributes> attributes(const std::string& path) const = 0;
};

}  // namespace velmora
