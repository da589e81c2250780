#include "app/services/files/FileResults.h"

namespace velmora {

Task<std::vector<ResultPointer>> FileResults::search(std::string query, std::optional<std::string> directory) {
    const auto files = files_;
    const std::vector<FileRecord> records = co_await index_->search(std::move(query), std::move(directory));
    co_return files->results(records);
}

}  // namespace velmora
