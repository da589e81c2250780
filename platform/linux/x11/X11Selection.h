#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// The CLIPBOARD selection of an X11 display: counts its changes, and asks its owner what it holds.
///
/// An owner that does not answer in time, breaks off, refuses, or loses the selection meanwhile has nothing. What an
/// owner announces is not believed: memory is taken only for what has arrived, and no more than was asked for. One that
/// offers more than 4,096 targets has a secret and nothing else.
///
/// Runs on: the thread of `connection`. Fails with: nothing.
class X11Selection {
  public:
    /// `timeout` is how long one question may take in all.
    X11Selection(X11Connection& connection, std::chrono::milliseconds timeout, std::atomic<std::int64_t>& changes);

    /// To be called with every event of the connection.
    void handle(const xcb_generic_event_t& event);

    /// Which of `pasteboardType` it has.
    [[nodiscard]] std::vector<std::string> types(const std::stop_token& stop);

    /// The text of that type; see `Pasteboard::string`.
    [[nodiscard]] std::optional<std::string> string(std::string_view type, std::size_t maximumBytes,
                                                    const std::stop_token& stop);

  private:
    struct Transfer;
    struct Value {
        std::string bytes;
        xcb_atom_t type = XCB_NONE;
        std::uint8_t format = 0;
    };

    [[nodiscard]] bool offers(std::size_t form) const;
    void learnTargets(const std::stop_token& stop);
    [[nodiscard]] std::optional<Value> convert(xcb_atom_t target, std::size_t maximumBytes,
                                               const std::stop_token& stop);
    [[nodiscard]] std::optional<Value> receive(Transfer& transfer);
    [[nodiscard]] std::optional<Value> receivePieces(Transfer& transfer);
    [[nodiscard]] bool waitFor(const Transfer& transfer, const std::function<bool(const xcb_generic_event_t&)>& wanted);

    X11Connection& connection_;
    std::chrono::milliseconds timeout_;
    std::atomic<std::int64_t>& changes_;
    std::vector<xcb_atom_t> atoms_;
    xcb_atom_t concealedMark_;
    std::uint8_t selectionEvent_ = 0;  // 0: the server does not tell of changes
    xcb_timestamp_t changedAt_ = XCB_CURRENT_TIME;
    std::vector<xcb_atom_t> targets_;        // of the present owner,
    std::optional<std::int64_t> targetsAt_;  // learned after so many changes
    std::vector<xcb_window_t> abandoned_;    // destroyed once nobody can be writing to them
};

}  // namespace velmora
