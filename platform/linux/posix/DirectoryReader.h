#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velmora {

/// Reads the entries of one open folder after the other, a buffer at a time.
///
/// Owns: the buffer, which is shared by all folders; finish a buffer before filling it again.
class DirectoryReader {
  public:
    struct Entry {
        std::string_view name;                 ///< in bytes; valid until the next `fill`
        const char* terminatedName = nullptr;  ///< the same
        bool mayBeFolder = false;
        std::int64_t next = 0;  ///< where the folder's descriptor goes on after this entry
    };

    DirectoryReader();

    /// Reads on from where the folder's descriptor stands. Nothing on an error (see errno), else whether there was
    /// anything left to read.
    std::optional<bool> fill(int folder);

    /// The next entry of the buffer, "." and ".." left out.
    std::optional<Entry> next();

    /// Forgets what is left of the buffer.
    void clear() { position_ = end_ = 0; }

  private:
    std::vector<char> buffer_;
    std::size_t position_ = 0;
    std::size_t end_ = 0;
};

}  // namespace velmora
