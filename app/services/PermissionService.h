#pragma once

#include "core/assistant/Tools.h"
#include "core/commands/Commands.h"
#include "platform/Alerts.h"

#include <string>

namespace velmora {

/// The one place where the user is asked to allow something.
///
/// Runs on: the main thread. Fails with: `AppError` (permission) "The operation was cancelled." when the user does not
/// allow.
class PermissionService {
  public:
    explicit PermissionService(Alerts& alerts) : alerts_(alerts) {}

    /// Asks, whatever it is.
    [[nodiscard]] Task<> confirm(std::string title, std::string detail);

    /// Asks before destructive actions; the others pass at once.
    [[nodiscard]] Task<> authorize(ActionRole role, std::string title, std::string detail);

    /// Asks whether the model may have `tool` run with `input`: which tool, what it does, and the input as JSON text,
    /// its first 1,600 characters at once and the rest on demand. Neither is looked at once the call has returned.
    [[nodiscard]] Task<> approve(const ToolDefinition& tool, const JSONValue& input);

  private:
    [[nodiscard]] Task<> ask(Confirmation confirmation);

    Alerts& alerts_;
};

}  // namespace velmora
