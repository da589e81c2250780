#pragma once

#include "core/async/Async.h"
#include "core/settings/AppPreferences.h"

#include <memory>

namespace velmora {

class AppServices;

/// The user's preferences as the running program applies them.
///
/// Runs on: the main thread. Fails with: what reading the settings fails with.
class SettingsState {
  public:
    explicit SettingsState(AppServices& services) : services_(services) {}

    /// Reads the stored preferences; the defaults stay where none are stored. Stored preferences that cannot be read
    /// are a failure: nothing is put in their place.
    [[nodiscard]] Task<> load();

    AppPreferences preferences;

  private:
    AppServices& services_;
};

}  // namespace velmora
