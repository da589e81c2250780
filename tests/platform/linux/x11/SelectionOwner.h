#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <atomic>
#include <map>
#include <string>
#include <thread>

namespace velmora::test {

/// A program on the display that owns the clipboard and answers for it as badly as it is told.
class SelectionOwner {
  public:
    enum class How {
        whole,        ///< all at once
        pieces,       ///< in pieces, as large contents are
        silent,       ///< not at all
        refuses,      ///< offers it and then says no
        endless,      ///< one piece after the other, for ever
        floods,       ///< pieces on top of each other, waiting for nobody
        stops,        ///< one piece, then nothing more
        dies,         ///< one piece, then its connection is gone
        liesSmall,    ///< announces a byte and sends all
        liesLarge,    ///< announces four gigabytes and sends all
        changesType,  ///< the second piece is of another type
        wrongFormat,  ///< as 32-bit numbers
        losesItself,  ///< gives the clipboard up instead of answering
    };

    struct Answer {
        std::string bytes;
        How how = How::whole;
        std::string type{};  ///< empty: the target's name
    };

    /// What it answers to each target. "TARGETS" needs no answer but may have one.
    using Script = std::map<std::string, Answer>;

    SelectionOwner(const std::string& display, Script script);
    ~SelectionOwner();
    SelectionOwner(const SelectionOwner&) = delete;
    SelectionOwner& operator=(const SelectionOwner&) = delete;

    /// What it was asked for.
    [[nodiscard]] int requests(const std::string& target);

  private:
    struct Transfer {
        xcb_window_t window = XCB_NONE;
        xcb_atom_t property = XCB_NONE;
        Answer answer;
        std::size_t sent = 0;
        int pieces = 0;
    };

    void serve(const std::stop_token& stop);
    void handle(const xcb_generic_event_t& event);
    void answer(const xcb_selection_request_event_t& request);
    void begin(const xcb_selection_request_event_t& request, const Answer& given);
    void sendPiece();
    void put(xcb_atom_t type, std::uint8_t format, std::string_view bytes);
    void notify(const xcb_selection_request_event_t& request, xcb_atom_t property);
    [[nodiscard]] xcb_atom_t atom(const std::string& name);
    [[nodiscard]] std::string nameOf(xcb_atom_t atom);

    std::unique_ptr<X11Connection> connection_;
    Script script_;
    xcb_window_t window_ = XCB_NONE;
    std::map<std::string, xcb_atom_t> atoms_;
    std::optional<Transfer> transfer_;
    std::mutex mutex_;
    std::map<std::string, int> requests_;
    std::jthread thread_;
};

}  // namespace velmora::test
