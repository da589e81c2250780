#pragma once

#include "platform/FrontmostApplication.h"

#include <memory>

namespace velmora {

class X11Session;

/// The application of the active window: a desktop id, found by the window's class.
///
/// `session` must outlive it; without one no window is known. Reads the desktop entries on the pool, again only when
/// they are five minutes old.
class LinuxFrontmostApplication final : public FrontmostApplication {
  public:
    LinuxFrontmostApplication(const Executor& pool, X11Session* session);
    ~LinuxFrontmostApplication() override;

    [[nodiscard]] Task<std::optional<std::string>> bundleIdentifier() override;

  private:
    class Applications;

    Actor actor_;
    X11Session* session_;
    std::shared_ptr<Applications> applications_;
};

}  // namespace velmora
