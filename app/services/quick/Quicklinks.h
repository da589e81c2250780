#pragma once

#include "app/storage/QuicklinkRepository.h"
#include "core/commands/Commands.h"
#include "core/text/URL.h"

#include <string>
#include <string_view>

namespace velmora {

class Workspace;

/// What may be a quicklink's address, and what the user may add. Runs on: any thread.
namespace Quicklinks {

/// The web or file address in `text`, white space around it ignored. Fails with `AppError` (configuration) "Quicklinks
/// must use http, https or file addresses." for everything else.
URL validatedURL(std::string_view text);

/// A new quicklink from what the user typed. Fails with `AppError` (configuration): as `validatedURL`, and with "Give
/// the quicklink a name." when there is none.
Quicklink make(std::string_view title, std::string_view address);

}  // namespace Quicklinks

/// The command that opens one quicklink.
///
/// Its result never changes: a quicklink that changes gets another command. The workspace must outlive it.
class QuicklinkCommand final : public StaticCommand {
  public:
    static constexpr std::string_view prefix = "quicklink:";

    QuicklinkCommand(const Quicklink& link, Workspace& workspace);
};

}  // namespace velmora
