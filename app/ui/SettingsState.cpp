#include "app/ui/SettingsState.h"

#include "app/AppServices.h"
#include "app/services/ClipboardService.h"

namespace velmora {

Task<> SettingsState::load() {
    const auto stored = co_await services_.settings.load<AppPreferences>("preferences");
    if (stored) preferences = *stored;
    services_.clipboard->enabled = preferences.clipboardEnabled;
    services_.clipboard->maximumItems = preferences.clipboardLimit;
}

}  // namespace velmora
