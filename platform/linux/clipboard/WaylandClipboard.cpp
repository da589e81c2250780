#include "platform/linux/clipboard/WaylandClipboard.h"

#include "platform/linux/clipboard/DisplayThread.h"
#include "platform/linux/clipboard/SelectionText.h"
#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wlr-data-control-unstable-v1.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

namespace asio = boost::asio;

namespace velmora {
namespace {

using namespace std::chrono_literals;
using SteadyTime = std::chrono::steady_clock::time_point;

template <auto destroy>
struct Destroyer {
    template <class Proxy>
    void operator()(Proxy* proxy) const noexcept {
        destroy(proxy);
    }
};
template <class Proxy, auto destroy>
using Owned = std::unique_ptr<Proxy, Destroyer<destroy>>;

constexpr std::uint32_t newestVersion = 2;

/// How often a wait looks whether it should go on.
constexpr auto attention = 50ms;

/// What the clipboard holds: in which of `selectionText::forms`.
struct Offer {
    Owned<zwlr_data_control_offer_v1, zwlr_data_control_offer_v1_destroy> proxy;
    std::array<bool, selectionText::forms.size()> has{};
};

}  // namespace

/// Used on one thread at a time: first where it is made, then on the session's.
struct WaylandClipboard::Connection {
    explicit Connection(const Options& options)
        : timeout(options.timeout),
          display(wl_display_connect(options.display.empty() ? nullptr : options.display.c_str())) {
        if (!display) return;
        registry.reset(wl_display_get_registry(display.get()));
        static constexpr wl_registry_listener globals{&Connection::appeared, &Connection::disappeared};
        wl_registry_add_listener(registry.get(), &globals, this);
        wl_display_roundtrip(display.get());
        if (!manager || !seat) return;
        device.reset(zwlr_data_control_manager_v1_get_data_device(manager.get(), seat.get()));
        static constexpr zwlr_data_control_device_v1_listener selections{
            &Connection::introduced, &Connection::selected, &Connection::finished, &Connection::otherSelected};
        zwlr_data_control_device_v1_add_listener(device.get(), &selections, this);
        wl_display_roundtrip(display.get());  // brings what is on it now, which is no change
    }

    [[nodiscard]] bool isHealthy() const { return device && wl_display_get_error(display.get()) == 0; }

    [[nodiscard]] std::vector<std::string> types() const {
        std::vector<std::string> found;
        if (!isHealthy()) return found;  // the offers of a compositor that has gone
        for (std::size_t i = 0; current && i < selectionText::forms.size(); ++i) {
            const std::string_view type = selectionText::forms[i].type;
            if (current->has[i] && std::ranges::find(found, type) == found.end()) found.emplace_back(type);
        }
        return found;
    }

    [[nodiscard]] std::optional<std::string> string(std::string_view type, std::size_t maximumBytes,
                                                    const std::stop_token& stop) {
        for (std::size_t i = 0; current && i < selectionText::forms.size(); ++i) {
            const selectionText::Form& form = selectionText::forms[i];
            if (form.type != type || !current->has[i]) continue;
            const auto bytes = receive(std::string(form.target), maximumBytes, stop);
            return bytes ? selectionText::decoded(*bytes, form.encoding) : std::nullopt;
        }
        return std::nullopt;
    }

    /// The bytes that the owner writes into a pipe for us; a few more than `maximumBytes` when there are more.
    [[nodiscard]] std::optional<std::string> receive(const std::string& target, std::size_t maximumBytes,
                                                     const std::stop_token& stop) {
        int ends[2];
        if (!current || pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
        const Descriptor from(ends[0]);
        Descriptor into(ends[1]);
        if (fcntl(from.get(), F_SETFL, O_NONBLOCK) != 0) return std::nullopt;
        zwlr_data_control_offer_v1_receive(current->proxy.get(), target.c_str(), into.get());
        into.reset();
        const std::int64_t before = changes;
        const SteadyTime deadline = std::chrono::steady_clock::now() + timeout;
        std::string bytes;
        std::array<char, 65'536> piece{};
        while (isHealthy() && changes == before && !stop.stop_requested() &&
               std::chrono::steady_clock::now() < deadline) {
            waitFor(from.get());
            const ssize_t count = ::read(from.get(), piece.data(), piece.size());
            if (count == 0) return bytes;
            if (count < 0 && errno != EAGAIN && errno != EINTR) return std::nullopt;
            bytes.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
            if (bytes.size() > maximumBytes) return bytes;  // the rest stays with its owner
        }
        return std::nullopt;
    }

    /// Handles what has arrived from the compositor; waits for it or for `other` for a moment.
    void waitFor(int other) {
        if (!prepare()) return;
        const bool unsent = wl_display_flush(display.get()) < 0 && errno == EAGAIN;
        const auto events = static_cast<short>(unsent ? POLLIN | POLLOUT : POLLIN);
        std::array<pollfd, 2> descriptors{{{wl_display_get_fd(display.get()), events, 0}, {other, POLLIN, 0}}};
        const int ready = poll(descriptors.data(), descriptors.size(), static_cast<int>(attention.count()));
        if (ready > 0 && (descriptors[0].revents & ~POLLOUT) != 0) {
            wl_display_read_events(display.get());
        } else {
            wl_display_cancel_read(display.get());
        }
        wl_display_dispatch_pending(display.get());
    }

    /// Handles what has arrived.
    void handlePending() {
        if (!prepare()) return;
        wl_display_read_events(display.get());  // takes what is there and does not wait
        wl_display_dispatch_pending(display.get());
        wl_display_flush(display.get());
    }

    /// False once the connection has broken.
    bool prepare() {
        while (wl_display_prepare_read(display.get()) != 0) {
            if (wl_display_dispatch_pending(display.get()) < 0) return false;
        }
        return true;
    }

    static void appeared(void* self, wl_registry* registry, std::uint32_t name, const char* interface,
                         std::uint32_t version) {
        auto& connection = *static_cast<Connection*>(self);
        const std::string_view kind(interface);
        if (kind == zwlr_data_control_manager_v1_interface.name && !connection.manager) {
            connection.manager.reset(static_cast<zwlr_data_control_manager_v1*>(wl_registry_bind(
                registry, name, &zwlr_data_control_manager_v1_interface, std::min(version, newestVersion))));
        } else if (kind == wl_seat_interface.name && !connection.seat) {
            connection.seat.reset(static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1)));
        }
    }
    static void disappeared(void*, wl_registry*, std::uint32_t) {}

    /// An offer is introduced, tells its forms, and then becomes the clipboard's or another selection's.
    static void introduced(void* self, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* proxy) {
        auto& connection = *static_cast<Connection*>(self);
        connection.next.emplace();
        connection.next->proxy.reset(proxy);
        static constexpr zwlr_data_control_offer_v1_listener forms{&Connection::offered};
        zwlr_data_control_offer_v1_add_listener(proxy, &forms, self);
    }
    static void offered(void* self, zwlr_data_control_offer_v1* proxy, const char* target) {
        auto& next = static_cast<Connection*>(self)->next;
        if (!next || next->proxy.get() != proxy) return;
        for (std::size_t i = 0; i < selectionText::forms.size(); ++i) {
            if (selectionText::forms[i].target == target) next->has[i] = true;
        }
    }
    static void selected(void* self, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* proxy) {
        auto& connection = *static_cast<Connection*>(self);
        connection.current.reset();
        if (proxy && connection.next && connection.next->proxy.get() == proxy)
            std::swap(connection.current, connection.next);
        ++connection.changes;
    }
    static void otherSelected(void* self, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*) {
        static_cast<Connection*>(self)->next.reset();
    }
    static void finished(void* self, zwlr_data_control_device_v1*) {
        auto& connection = *static_cast<Connection*>(self);
        connection.current.reset();
        connection.device.reset();
    }

    std::chrono::milliseconds timeout;
    std::atomic<std::int64_t> changes{0};
    Owned<wl_display, wl_display_disconnect> display;  // none: no compositor
    Owned<wl_registry, wl_registry_destroy> registry;
    Owned<wl_seat, wl_seat_destroy> seat;
    Owned<zwlr_data_control_manager_v1, zwlr_data_control_manager_v1_destroy> manager;
    Owned<zwlr_data_control_device_v1, zwlr_data_control_device_v1_destroy> device;  // none: nothing can be read
    std::optional<Offer> next;
    std::optional<Offer> current;  // none: the clipboard is empty
};

struct WaylandClipboard::Thread {
    explicit Thread(std::unique_ptr<Connection> made)
        : connection(std::move(made)), descriptor(session.context(), wl_display_get_fd(connection->display.get())) {
        asio::post(session.context(), [this] { listen(); });
    }
    ~Thread() {
        session.end();
        descriptor.release();  // the connection closes it
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    void listen() {
        connection->handlePending();
        if (!connection->isHealthy()) return;
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [this](const boost::system::error_code& error) {
                                  if (!error) listen();
                              });
    }

    std::unique_ptr<Connection> connection;
    DisplayThread session;
    asio::posix::stream_descriptor descriptor;
};

std::unique_ptr<WaylandClipboard> WaylandClipboard::connect(const Options& options) {
    auto connection = std::make_unique<Connection>(options);
    if (!connection->isHealthy()) return nullptr;
    return std::unique_ptr<WaylandClipboard>(new WaylandClipboard(std::move(connection)));
}

WaylandClipboard::WaylandClipboard(std::unique_ptr<Connection> connection)
    : thread_(std::make_unique<Thread>(std::move(connection))) {}

WaylandClipboard::~WaylandClipboard() = default;

std::int64_t WaylandClipboard::clipboardChanges() const {
    return thread_->connection->changes;
}

Task<std::vector<std::string>> WaylandClipboard::clipboardTypes() {
    const auto work = [this](const std::stop_token&) { return thread_->connection->types(); };
    return thread_->session.run<std::vector<std::string>>(work);
}

Task<std::optional<std::string>> WaylandClipboard::clipboardString(std::string type, std::size_t maximumBytes) {
    const auto work = [this, type = std::move(type), maximumBytes](const std::stop_token& stop) {
        auto& connection = *thread_->connection;
        return connection.isHealthy() ? connection.string(type, maximumBytes, stop) : std::nullopt;
    };
    return thread_->session.run<std::optional<std::string>>(work);
}

}  // namespace velmora
