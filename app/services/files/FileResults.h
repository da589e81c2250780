#pragma once

#include "app/services/ResultSource.h"
#include "app/services/files/FileIndexService.h"
#include "app/services/files/FileService.h"

#include <memory>

namespace velmora {

/// What the files mode searches: the filename index, its answers with the actions of files.
class FileResults final : public ResultSource {
  public:
    FileResults(std::shared_ptr<FileIndexService> index, std::shared_ptr<FileService> files)
        : index_(std::move(index)), files_(std::move(files)) {}

    [[nodiscard]] Task<std::vector<ResultPointer>> search(std::string query,
                                                          std::optional<std::string> directory) override;

  private:
    std::shared_ptr<FileIndexService> index_;
    std::shared_ptr<FileService> files_;
};

}  // namespace velmora
