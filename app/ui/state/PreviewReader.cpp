#include "app/ui/state/PreviewReader.h"

#include <exception>
#include <optional>
#include <utility>

namespace velmora {

void PreviewReader::show(const ResultPointer& result) {
    if (result == shown_) return;
    shown_ = result;
    reading_.cancel();
    feedback_->set(whole_, {});
    if (!result || !result->wholePreview) return;
    reading_ = spawn(main_, [self = shared_from_this(), result] { return self->read(result); });
}

Task<> PreviewReader::read(ResultPointer result) {  // NOLINT(performance-unnecessary-value-param): a coroutine
    const auto self = shared_from_this();
    std::optional<std::string> text;
    std::exception_ptr failure;
    try {
        text = co_await result->wholePreview();
    } catch (...) {
        failure = std::current_exception();
    }
    if (shown_ != result) co_return;
    if (failure) feedback_->showFailure(failure);
    if (text) feedback_->set(whole_, std::make_shared<const std::string>(*std::move(text)));
}

}  // namespace velmora
