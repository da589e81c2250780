#pragma once

#include "app/storage/fileindex/FileIndexRepository.h"
#include "platform/IndexReading.h"

#include <limits>

namespace velmora {

/// The filename index as the watcher of the disk reads it.
class IndexedEntries final : public IndexReading {
  public:
    explicit IndexedEntries(FileIndexRepository repository) : repository_(std::move(repository)) {}

    [[nodiscard]] Task<std::vector<IndexedFile>> children(std::string folder) override {
        return repository_.list(std::move(folder), "name", std::numeric_limits<std::int32_t>::max());
    }

    [[nodiscard]] Task<std::vector<IndexedFile>> below(std::string folder, std::string after,
                                                       std::size_t limit) override {
        return repository_.below(std::move(folder), std::move(after), limit);
    }

  private:
    FileIndexRepository repository_;
};

}  // namespace velmora
