#include "app/ui/state/PaletteFeedback.h"

#include "core/AppError.h"
#include "core/Assert.h"
#include "core/async/Async.h"

#include <algorithm>

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

std::string PaletteFeedback::notice() const {
    std::string all;
    for (const std::string& sentence : notices_)
        all += (all.empty() ? "" : " ") + sentence;
    return all;
}

void PaletteFeedback::addNotice(const std::string& sentence) {
    auto notices = notices_;
    if (std::ranges::find(notices, sentence) == notices.end()) notices.push_back(sentence);
    set(notices_, std::move(notices));
}

void PaletteFeedback::removeNotice(const std::string& sentence) {
    auto notices = notices_;
    std::erase(notices, sentence);
    set(notices_, std::move(notices));
}

}  // namespace velmora
