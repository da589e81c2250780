#include "app/ui/SettingsState.h"

#include "app/AppServices.h"

namespace velmora {

Task<> SettingsState::load() {
    const auto stored = co_await services_.settings.load<AppPreferences>("preferences");
    if (stored) preferences = *stored;
}

}  // namespace velmora
