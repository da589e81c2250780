#pragma once

#include "core/async/Async.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// What any program has put on the clipboard, read from the display server without ever waiting for that program; see
/// `Pasteboard`. Once the server is gone, the clipboard never changes and everything is absent.
///
/// Runs on: any thread.
class ClipboardReading {
  public:
    virtual ~ClipboardReading() = default;

    [[nodiscard]] virtual std::int64_t clipboardChanges() const = 0;
    [[nodiscard]] virtual Task<std::vector<std::string>> clipboardTypes() = 0;
    [[nodiscard]] virtual Task<std::optional<std::string>> clipboardString(std::string type,
                                                                           std::size_t maximumBytes) = 0;
};

}  // namespace velmora
