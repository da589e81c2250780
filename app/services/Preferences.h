#pragma once

#include "app/storage/SettingsRepository.h"
#include "core/async/Signal.h"
#include "core/settings/AppPreferences.h"

namespace velmora {

/// The user's preferences as the running program applies them.
///
/// Runs on: the main thread. Fails with: what reading the settings fails with.
class Preferences {
  public:
    explicit Preferences(SettingsRepository settings) : settings_(std::move(settings)) {}

    /// Reads the stored preferences; the defaults stay where none are stored. Stored preferences that cannot be read
    /// are a failure: nothing is put in their place.
    [[nodiscard]] Task<> load();

    [[nodiscard]] const AppPreferences& current() const { return current_; }

    /// Called with the preferences whenever they have been loaded.
    [[nodiscard]] Subscription onChange(std::function<void(const AppPreferences&)> callback) {
        return changed_.subscribe(std::move(callback));
    }

  private:
    SettingsRepository settings_;
    AppPreferences current_;
    Signal<const AppPreferences&> changed_;
};

}  // namespace velmora
