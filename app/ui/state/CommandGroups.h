#pragma once

#include "app/services/quick/Quicklinks.h"
#include "app/ui/state/PaletteFeedback.h"
#include "core/commands/CommandRegistry.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

class ApplicationCommand;
class AppServices;

/// The commands that come and go as groups: applications, quicklinks, shortcuts.
///
/// One rule for all of them: a group is replaced when what it is made of differs from what the registry has taken. A
/// list that is refused is shown as a failure, leaves the old group, and is tried again the next time.
///
/// Runs on: the main thread. Lives in a `shared_ptr`.
class CommandGroups : public std::enable_shared_from_this<CommandGroups> {
  public:
    CommandGroups(std::shared_ptr<AppServices> services, std::shared_ptr<CommandRegistry> registry,
                  std::shared_ptr<PaletteFeedback> feedback);

    /// Keeps the applications and the shortcuts as their services know them, from now on.
    void follow();

    /// Looks for changes of every group in the background.
    void refresh();
    void refreshApplications();
    void refreshQuicklinks();
    void refreshShortcuts();

    /// Loads the quicklinks. Fails with `AppError` (database).
    [[nodiscard]] Task<> reloadQuicklinks();

    /// Called when a group was replaced.
    [[nodiscard]] Subscription onReplaced(std::function<void()> callback) {
        return replaced_.subscribe(std::move(callback));
    }

  private:
    /// A group as the registry has taken it.
    template <class Source>
    struct Group {
        std::string_view prefix;
        std::vector<Source> taken;
    };

    template <class Source, class Make>
    void update(Group<Source>& group, std::vector<Source> sources, const Make& make);
    void updateApplications();
    void updateShortcuts();

    std::shared_ptr<AppServices> services_;
    std::shared_ptr<CommandRegistry> registry_;
    std::shared_ptr<PaletteFeedback> feedback_;
    std::vector<Subscription> subscriptions_;
    Signal<> replaced_;
    Group<std::shared_ptr<const ApplicationCommand>> applications_;
    Group<Quicklink> quicklinks_;
    Group<std::string> shortcuts_;
};

}  // namespace velmora
