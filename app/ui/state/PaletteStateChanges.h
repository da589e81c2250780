#pragma once

#include "app/ui/state/PaletteState.h"
#include "core/AppError.h"
#include "core/Assert.h"

#include <utility>

/// What the sources of the palette's state share.
namespace velmora {

/// Gathers the changes of one call: the views hear of them once, when the outermost call is through.
class PaletteState::Changes {
  public:
    explicit Changes(PaletteState& state) : state_(state) {
        VELMORA_ASSERT_MAIN();
        ++state_.changeDepth_;
    }
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;
    ~Changes() {
        if (--state_.changeDepth_ > 0 || !std::exchange(state_.dirty_, false)) return;
        state_.changed_.emit();
    }

  private:
    PaletteState& state_;
};

template <class T>
void PaletteState::set(T& field, T value) {
    VELMORA_ASSERT(changeDepth_ > 0);
    if (field == value) return;
    field = std::move(value);
    dirty_ = true;
}

/// The error line for a failure. A cancellation is no failure: it leaves the line empty.
inline std::optional<std::string> errorLine(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        return std::nullopt;
    } catch (...) {
        return AppError::friendly(failure);
    }
}

/// What the identifiers of application results begin with; the application's path follows.
inline constexpr std::string_view applicationPrefix = "app:";

inline std::string applicationPath(const std::string& id) {
    return id.substr(applicationPrefix.size());
}

/// The number of items, as positions are counted.
inline std::ptrdiff_t countOf(const auto& list) {
    return static_cast<std::ptrdiff_t>(list.size());
}

}  // namespace velmora
