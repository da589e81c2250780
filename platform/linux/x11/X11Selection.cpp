#include "platform/linux/x11/X11Selection.h"

#include "platform/linux/clipboard/SelectionText.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <cstring>

namespace velmora {
namespace {

/// More targets than any program offers. A secret mark may hide behind them.
constexpr std::size_t maximumTargetBytes = 4096 * sizeof(xcb_atom_t);

/// Our own atoms; those of `selectionText::forms` come after them.
enum Atom : std::size_t { clipboard, landing, incremental, targets, firstForm };

std::vector<std::string_view> atomNames() {
    std::vector<std::string_view> names{"CLIPBOARD", "VELMORA_CLIPBOARD", "INCR", "TARGETS"};
    for (const selectionText::Form& form : selectionText::forms)
        names.push_back(form.target);
    return names;
}

std::string_view bytesOf(const xcb_get_property_reply_t& reply) {
    return {static_cast<const char*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply))};
}

}  // namespace

/// One answer on its way, into a window of its own: a late piece of another answer cannot get into it.
struct X11Selection::Transfer {
    xcb_window_t window;
    xcb_atom_t target;
    std::size_t maximumBytes;
    std::int64_t changes;  // at the beginning
    X11Connection::Deadline deadline;
    std::stop_token stop;
    bool complete = false;  // the owner has nothing more to write
};

X11Selection::X11Selection(X11Connection& connection, std::chrono::milliseconds timeout,
                           std::atomic<std::int64_t>& changes)
    : connection_(connection),
      timeout_(timeout),
      changes_(changes),
      atoms_(connection.atoms(atomNames())),
      concealedMark_(connection.atoms({pasteboardType::concealed}).front()) {
    xcb_connection_t* const server = connection_.get();
    const auto* const extension = xcb_get_extension_data(server, &xcb_xfixes_id);
    if (!extension || !extension->present) return;
    const auto version = xcbOwned(xcb_xfixes_query_version_reply(
        server, xcb_xfixes_query_version(server, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION), nullptr));
    if (!version || version->major_version < 1) return;
    selectionEvent_ = static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    xcb_xfixes_select_selection_input(server, connection_.root(), atoms_[clipboard],
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    xcb_flush(server);
}

void X11Selection::handle(const xcb_generic_event_t& event) {
    if (selectionEvent_ == 0 || kindOf(event) != selectionEvent_) return;
    const auto change = eventAs<xcb_xfixes_selection_notify_event_t>(event);
    if (change.selection != atoms_[clipboard]) return;
    changedAt_ = change.timestamp;
    ++changes_;
    for (const xcb_window_t window : std::exchange(abandoned_, {}))
        xcb_destroy_window(connection_.get(), window);
}

std::vector<std::string> X11Selection::types(const std::stop_token& stop) {
    learnTargets(stop);
    std::vector<std::string> found;
    for (std::size_t i = 0; i < selectionText::forms.size(); ++i) {
        const std::string_view type = selectionText::forms[i].type;
        if (offers(i) && std::ranges::find(found, type) == found.end()) found.emplace_back(type);
    }
    return found;
}

std::optional<std::string> X11Selection::string(std::string_view type, std::size_t maximumBytes,
                                                const std::stop_token& stop) {
    learnTargets(stop);
    for (std::size_t i = 0; i < selectionText::forms.size(); ++i) {
        const selectionText::Form& form = selectionText::forms[i];
        if (form.type != type || !offers(i)) continue;
        const auto value = convert(atoms_[firstForm + i], maximumBytes, stop);
        if (!value || value->format != 8) return std::nullopt;
        // Owners may answer a question for a text with another encoding, and say so.
        const bool isLatin1 = type == pasteboardType::text && value->type == XCB_ATOM_STRING;
        return selectionText::decoded(value->bytes, isLatin1 ? selectionText::Encoding::latin1 : form.encoding);
    }
    return std::nullopt;
}

bool X11Selection::offers(std::size_t form) const {
    const xcb_atom_t atom = atoms_[firstForm + form];
    return atom != XCB_NONE && std::ranges::find(targets_, atom) != targets_.end();
}

void X11Selection::learnTargets(const std::stop_token& stop) {
    const std::int64_t changes = changes_;
    if (targetsAt_ == changes) return;
    targets_.clear();
    const auto value = convert(atoms_[targets], maximumTargetBytes, stop);
    if (!value || value->format != 32) return;
    targetsAt_ = changes;
    if (value->bytes.size() > maximumTargetBytes) {
        targets_ = {concealedMark_};
        return;
    }
    targets_.resize(value->bytes.size() / sizeof(xcb_atom_t));
    std::memcpy(targets_.data(), value->bytes.data(), targets_.size() * sizeof(xcb_atom_t));
}

std::optional<X11Selection::Value> X11Selection::convert(xcb_atom_t target, std::size_t maximumBytes,
                                                         const std::stop_token& stop) {
    if (!connection_.isHealthy()) return std::nullopt;
    xcb_connection_t* const server = connection_.get();
    Transfer transfer{
        xcb_generate_id(server), target, maximumBytes, changes_, std::chrono::steady_clock::now() + timeout_, stop};
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(server, XCB_COPY_FROM_PARENT, transfer.window, connection_.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_convert_selection(server, transfer.window, atoms_[clipboard], target, atoms_[landing], changedAt_);
    auto value = receive(transfer);
    // An owner that is still writing may not survive that the window is gone: it is kept until the selection has passed
    // to another.
    if (transfer.complete || transfer.changes != changes_) {
        xcb_destroy_window(server, transfer.window);
    } else {
        abandoned_.push_back(transfer.window);
    }
    xcb_flush(server);
    return value;
}

std::optional<X11Selection::Value> X11Selection::receive(Transfer& transfer) {
    bool refused = false;
    const bool answered = waitFor(transfer, [&](const xcb_generic_event_t& event) {
        if (kindOf(event) != XCB_SELECTION_NOTIFY) return false;
        const auto answer = eventAs<xcb_selection_notify_event_t>(event);
        refused = answer.property == XCB_NONE;
        return answer.requestor == transfer.window && answer.target == transfer.target;
    });
    if (!answered) return std::nullopt;
    transfer.complete = true;
    if (refused) return std::nullopt;
    const auto whole = connection_.property(transfer.window, atoms_[landing], XCB_NONE, transfer.maximumBytes);
    if (!whole) return std::nullopt;
    if (whole->type != atoms_[incremental]) {
        return Value{std::string(bytesOf(*whole)), whole->type, whole->format};
    }
    transfer.complete = false;
    xcb_delete_property(connection_.get(), transfer.window, atoms_[landing]);  // begins the transfer
    return receivePieces(transfer);
}

std::optional<X11Selection::Value> X11Selection::receivePieces(Transfer& transfer) {
    const auto isPiece = [&](const xcb_generic_event_t& event) {
        if (kindOf(event) != XCB_PROPERTY_NOTIFY) return false;
        const auto change = eventAs<xcb_property_notify_event_t>(event);
        return change.window == transfer.window && change.atom == atoms_[landing] &&
               change.state == XCB_PROPERTY_NEW_VALUE;
    };
    Value value;
    while (waitFor(transfer, isPiece)) {
        const std::size_t left = transfer.maximumBytes - value.bytes.size();
        const auto piece = connection_.property(transfer.window, atoms_[landing], XCB_NONE, left);
        if (!piece) return std::nullopt;
        if (piece->type == XCB_NONE) continue;  // taken already, together with the one before it
        const std::string_view bytes = bytesOf(*piece);
        if (!bytes.empty() && value.format != 0 && (piece->type != value.type || piece->format != value.format)) {
            return std::nullopt;
        }
        if (bytes.empty()) {
            transfer.complete = true;
            xcb_delete_property(connection_.get(), transfer.window, atoms_[landing]);
            return value;
        }
        value.type = piece->type;
        value.format = piece->format;
        value.bytes += bytes;
        if (value.bytes.size() > transfer.maximumBytes) return value;  // the rest stays with its owner
        xcb_delete_property(connection_.get(), transfer.window, atoms_[landing]);
    }
    return std::nullopt;
}

bool X11Selection::waitFor(const Transfer& transfer, const std::function<bool(const xcb_generic_event_t&)>& wanted) {
    for (;;) {
        const auto event = connection_.next(transfer.deadline, transfer.stop);
        if (!event || transfer.changes != changes_) return false;
        if (wanted(*event)) return true;
    }
}

}  // namespace velmora
