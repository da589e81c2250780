#pragma once

#include "platform/FrontmostApplication.h"

#include <memory>

namespace velmora {

class LinuxApplicationBundles;
class X11Session;

/// The application of the active window, found by the window's class among the installed ones.
///
/// `session` must outlive it; without one no window is known.
class LinuxFrontmostApplication final : public FrontmostApplication {
  public:
    LinuxFrontmostApplication(const Executor& pool, X11Session* session,
                              std::shared_ptr<const LinuxApplicationBundles> applications);

    [[nodiscard]] Task<std::optional<std::string>> bundleIdentifier() override;

  private:
    Actor actor_;
    X11Session* session_;
    std::shared_ptr<const LinuxApplicationBundles> applications_;
};

}  // namespace velmora
