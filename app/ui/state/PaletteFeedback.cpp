#include "app/ui/state/PaletteFeedback.h"

#include "core/AppError.h"
#include "core/Assert.h"
#include "core/async/Async.h"

namespace velmora {

PaletteFeedback::Gathering::Gathering(PaletteFeedback& feedback) : feedback_(feedback) {
    VELMORA_ASSERT_MAIN();
    ++feedback_.depth_;
}

PaletteFeedback::Gathering::~Gathering() {
    if (--feedback_.depth_ > 0 || !std::exchange(feedback_.dirty_, false)) return;
    feedback_.changed_.emit();
}

void PaletteFeedback::showFailure(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): whoever cancelled it knows
    } catch (...) {
        showError(AppError::friendly(failure));
    }
}

}  // namespace velmora
