#pragma once

#include "core/async/Async.h"
#include "core/files/IndexedFile.h"

#include <string>
#include <vector>

namespace velmora {

/// What the index has, for whoever compares it with the disk.
///
/// Runs on: the main thread. Fails with: anything; the comparison then does without.
class IndexReading {
  public:
    virtual ~IndexReading() = default;

    /// Every entry directly in a folder.
    [[nodiscard]] virtual Task<std::vector<IndexedFile>> children(std::string folder) = 0;

    /// The first `limit` entries anywhere below a folder whose path comes after `after` ("" for the first of all), in
    /// the order of the bytes of their paths.
    [[nodiscard]] virtual Task<std::vector<IndexedFile>> below(std::string folder, std::string after,
                                                               std::size_t limit) = 0;
};

}  // namespace velmora
