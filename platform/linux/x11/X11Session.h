#pragma once

#include "platform/ClipboardReading.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// What the program asks of an X11 display without ever waiting for it: on a connection and a thread of its own, which
/// sleeps while nothing happens.
///
/// Runs on: any thread. Owns: the connection, made in the background; where there is no display, and once it is gone,
/// the clipboard never changes and everything is absent. Destroying it ends what it waits for.
class X11Session final : public ClipboardReading {
  public:
    struct Options {
        std::string display;  ///< empty: the one that the environment names
        /// How long the owner of the clipboard may take for the answer to one question.
        std::chrono::milliseconds timeout{5000};
    };

    explicit X11Session(Options options);
    ~X11Session() override;
    X11Session(const X11Session&) = delete;
    X11Session& operator=(const X11Session&) = delete;

    [[nodiscard]] std::int64_t clipboardChanges() const override;
    [[nodiscard]] Task<std::vector<std::string>> clipboardTypes() override;
    [[nodiscard]] Task<std::optional<std::string>> clipboardString(std::string type, std::size_t maximumBytes) override;

    /// The window class and the instance name of the active window, leaving out our own; empty when there is none.
    [[nodiscard]] Task<std::vector<std::string>> activeWindowClasses();

  private:
    struct Thread;
    std::unique_ptr<Thread> thread_;
};

}  // namespace velmora
