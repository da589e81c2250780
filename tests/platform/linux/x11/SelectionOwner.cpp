#include "tests/platform/linux/x11/SelectionOwner.h"

#include <algorithm>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t pieceBytes = 100'000;
constexpr int flood = 40;

}  // namespace

SelectionOwner::SelectionOwner(const std::string& display, Script script)
    : connection_(std::make_unique<X11Connection>(display)), script_(std::move(script)) {
    xcb_connection_t* const server = connection_->get();
    window_ = xcb_generate_id(server);
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window_, connection_->root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(server, window_, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    xcb_flush(server);
    thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

SelectionOwner::~SelectionOwner() {
    thread_.request_stop();
    thread_.join();
}

int SelectionOwner::requests(const std::string& target) {
    const std::lock_guard lock(mutex_);
    return requests_[target];
}

void SelectionOwner::serve(const std::stop_token& stop) {
    while (!stop.stop_requested() && connection_) {
        if (const auto event = connection_->next(std::chrono::steady_clock::now() + 20ms, stop)) handle(*event);
    }
}

void SelectionOwner::handle(const xcb_generic_event_t& event) {
    if (kindOf(event) == XCB_SELECTION_REQUEST) answer(eventAs<xcb_selection_request_event_t>(event));
    if (!transfer_ || kindOf(event) != XCB_PROPERTY_NOTIFY) return;
    const auto change = eventAs<xcb_property_notify_event_t>(event);
    const bool taken = change.state == XCB_PROPERTY_DELETE && change.window == transfer_->window;
    if (taken && change.atom == transfer_->property) sendPiece();
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
    const std::string target = nameOf(request.target);
    {
        const std::lock_guard lock(mutex_);
        ++requests_[target];
    }
    const auto found = script_.find(target);
    if (found != script_.end()) return begin(request, found->second);
    if (target != "TARGETS") return notify(request, XCB_NONE);
    std::vector<xcb_atom_t> offered{request.target};
    for (const auto& [name, unused] : script_)
        offered.push_back(atom(name));
    xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property, XCB_ATOM_ATOM,
                        32, static_cast<std::uint32_t>(offered.size()), offered.data());
    notify(request, request.property);
}

void SelectionOwner::begin(const xcb_selection_request_event_t& request, const Answer& given) {
    const xcb_atom_t type = given.type.empty() ? request.target : atom(given.type);
    transfer_ = Transfer{request.requestor, request.property, given};
    xcb_connection_t* const server = connection_->get();
    switch (given.how) {
        case How::silent:
            return;
        case How::refuses:
            return notify(request, XCB_NONE);
        case How::losesItself:
            xcb_set_selection_owner(server, XCB_NONE, atom("CLIPBOARD"), XCB_CURRENT_TIME);
            xcb_flush(server);
            return;
        case How::whole:
            put(type, 8, given.bytes);
            return notify(request, request.property);
        case How::wrongFormat:
            put(type, 32, given.bytes);
            return notify(request, request.property);
        default:
            break;
    }
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(server, request.requestor, XCB_CW_EVENT_MASK, &events);
    auto announced = static_cast<std::uint32_t>(given.bytes.size());
    if (given.how == How::liesSmall) announced = 1;
    if (given.how == How::liesLarge) announced = 0xFFFFFFFF;
    put(atom("INCR"), 32, {reinterpret_cast<const char*>(&announced), sizeof(announced)});
    notify(request, request.property);
}

void SelectionOwner::sendPiece() {
    Transfer& transfer = *transfer_;
    const std::string& bytes = transfer.answer.bytes;
    const How how = transfer.answer.how;
    const bool isSecond = transfer.pieces++ == 1;
    if (how == How::stops && isSecond) return;
    if (how == How::dies && isSecond) return connection_.reset();
    const std::string type = transfer.answer.type.empty() ? "UTF8_STRING" : transfer.answer.type;
    if (how == How::endless || how == How::floods) {
        for (int i = 0; i < (how == How::floods ? flood : 1); ++i)
            put(atom(type), 8, std::string(pieceBytes, 'x'));
        return;
    }
    const std::string_view piece = std::string_view(bytes).substr(transfer.sent, pieceBytes);
    transfer.sent += piece.size();
    put(atom(how == How::changesType && isSecond ? "STRING" : type), 8, piece);
}

void SelectionOwner::put(xcb_atom_t type, std::uint8_t format, std::string_view bytes) {
    const auto units = static_cast<std::uint32_t>(bytes.size() / (format / 8U));
    const auto mode =
        transfer_->answer.how == How::floods && type != atom("INCR") ? XCB_PROP_MODE_APPEND : XCB_PROP_MODE_REPLACE;
    xcb_change_property(connection_->get(), static_cast<std::uint8_t>(mode), transfer_->window, transfer_->property,
                        type, format, units, bytes.data());
    xcb_flush(connection_->get());
}

void SelectionOwner::notify(const xcb_selection_request_event_t& request, xcb_atom_t property) {
    xcb_selection_notify_event_t event{};
    event.response_type = XCB_SELECTION_NOTIFY;
    event.time = request.time;
    event.requestor = request.requestor;
    event.selection = request.selection;
    event.target = request.target;
    event.property = property;
    char bytes[32] = {};  // as long as every event
    std::memcpy(bytes, &event, sizeof(event));
    xcb_send_event(connection_->get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, bytes);
    xcb_flush(connection_->get());
}

xcb_atom_t SelectionOwner::atom(const std::string& name) {
    xcb_atom_t& known = atoms_[name];
    if (known == XCB_NONE) known = connection_->atoms({name}).at(0);
    return known;
}

std::string SelectionOwner::nameOf(xcb_atom_t atom) {
    xcb_connection_t* const server = connection_->get();
    const auto reply = xcbOwned(xcb_get_atom_name_reply(server, xcb_get_atom_name(server, atom), nullptr));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()), static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

}  // namespace velmora::test
