#pragma once

#include "app/ui/state/PaletteFeedback.h"
#include "core/async/Async.h"
#include "core/commands/Commands.h"

#include <memory>
#include <string>

namespace velmora {

/// The text of the preview: of a result whose `previewText` is only the beginning it has the whole read, and keeps that
/// for as long as it is shown.
///
/// Runs on: the main thread. Lives in a `shared_ptr`. Fails with: nothing; failures become the error line.
class PreviewReader : public std::enable_shared_from_this<PreviewReader> {
  public:
    PreviewReader(MainExecutor main, std::shared_ptr<PaletteFeedback> feedback)
        : main_(std::move(main)), feedback_(std::move(feedback)) {}

    /// What is previewed from now on; null: nothing. Does nothing when that is so already.
    void show(const ResultPointer& result);

    /// The whole text, once it is there; none, too, where the result's own is the whole.
    [[nodiscard]] const std::shared_ptr<const std::string>& whole() const { return whole_; }

  private:
    [[nodiscard]] Task<> read(ResultPointer result);

    MainExecutor main_;
    std::shared_ptr<PaletteFeedback> feedback_;
    ResultPointer shown_;
    std::shared_ptr<const std::string> whole_;
    TaskHandle reading_;
};

}  // namespace velmora
