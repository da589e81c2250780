#pragma once

#include <string>

namespace velmora {

/// The clipboard that copy and paste use.
///
/// Runs on: the main thread.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;

    /// Replaces the contents by `text` as plain text. False when the platform refuses.
    [[nodiscard]] virtual bool setText(const std::string& text) = 0;
};

}  // namespace velmora
