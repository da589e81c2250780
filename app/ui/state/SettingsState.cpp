#include "app/ui/state/SettingsState.h"

#include "app/composition/AppServices.h"
#include "app/services/clipboard/ClipboardService.h"

namespace velmora {

Task<> SettingsState::load() {
    const auto stored = co_await services_.settings.load<AppPreferences>("preferences");
    if (stored) preferences = *stored;
    services_.clipboard->enabled = preferences.clipboardEnabled;
    services_.clipboard->maximumItems = preferences.clipboardLimit;
}

}  // namespace velmora
