#include "app/services/Preferences.h"

namespace velmora {

Task<> Preferences::load() {
    auto stored = co_await settings_.load<AppPreferences>("preferences");
    if (stored) current_ = *std::move(stored);
    changed_.emit(current_);
}

}  // namespace velmora
