#pragma once

#include "core/commands/Commands.h"

#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// What a searching mode of the palette asks: the file index, the clipboard history.
///
/// Runs on: called from the main thread; may be cancelled at any wait. Fails with: any exception, shown through
/// `AppError::friendly`.
class ResultSource {
  public:
    virtual ~ResultSource() = default;

    /// The results for `query` in the order to show them, inside the folder `directory` where the mode has folders.
    [[nodiscard]] virtual Task<std::vector<ResultPointer>> search(std::string query,
                                                                  std::optional<std::string> directory) = 0;
};

}  // namespace velmora
