#pragma once

#include "platform/ClipboardReading.h"

#include <chrono>
#include <memory>
#include <string>

namespace velmora {

/// The clipboard of a Wayland session whose compositor lets programs read it that have no window
/// (wlr-data-control-unstable-v1), on a connection and a thread of its own.
///
/// An owner that does not answer in time, or loses the clipboard meanwhile, has nothing. Runs on: any thread. Owns: the
/// connection. Destroying it ends what it waits for.
class WaylandClipboard final : public ClipboardReading {
  public:
    struct Options {
        std::string display;  ///< empty: the one that the environment names
        /// How long the owner of the clipboard may take for the answer to one question.
        std::chrono::milliseconds timeout{5000};
    };

    /// Null where there is no compositor, or one that does not offer it. Waits for the compositor's answer, as the
    /// toolkit does when it starts.
    [[nodiscard]] static std::unique_ptr<WaylandClipboard> connect(const Options& options);

    ~WaylandClipboard() override;
    WaylandClipboard(const WaylandClipboard&) = delete;
    WaylandClipboard& operator=(const WaylandClipboard&) = delete;

    [[nodiscard]] std::int64_t clipboardChanges() const override;
    [[nodiscard]] Task<std::vector<std::string>> clipboardTypes() override;
    [[nodiscard]] Task<std::optional<std::string>> clipboardString(std::string type, std::size_t maximumBytes) override;

  private:
    struct Connection;
    struct Thread;

    explicit WaylandClipboard(std::unique_ptr<Connection> connection);

    std::unique_ptr<Thread> thread_;
};

}  // namespace velmora
