#pragma once

#include "platform/Platform.h"

#include <memory>

namespace velmora {

class ClipboardReading;
class FileIcons;

/// The real desktop, less what the toolkit does: makes the worker pool, the clock and every service of `platform/linux`
/// once, from the environment of the process.
///
/// Runs on: made, asked and destroyed on the main thread. Owns: everything that `platform` refers to but the toolkit's.
/// It is made before the main executor: tasks that still wait at the end go with that one, and their timers and pipes
/// belong to the clock and the pool.
class LinuxPlatform {
  public:
    LinuxPlatform();
    ~LinuxPlatform();
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;

    /// What reads the clipboard of the display server; null where none lets us.
    [[nodiscard]] ClipboardReading* clipboard() const;

    [[nodiscard]] std::shared_ptr<const FileIcons> fileIcons() const;

    /// Everything together. This must outlive what is made of it.
    [[nodiscard]] Platform platform(const MainExecutor& main, const Toolkit& toolkit) const;

    /// Ends the threads of the pools and the clock. Before the main executor goes, which they hand tasks back to.
    void stop();

  private:
    struct Services;
    std::unique_ptr<Services> services_;
};

}  // namespace velmora
