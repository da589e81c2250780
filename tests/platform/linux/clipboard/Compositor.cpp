#include "tests/platform/linux/clipboard/Compositor.h"

#include <unistd.h>
#include <wayland-server.h>
#include <wlr-data-control-server.h>
#include <csignal>

#include <chrono>
#include <stdexcept>

namespace velmora::test {

/// What the clients ask for.
struct Compositor::Protocol {
    static Compositor& of(wl_resource* resource) {
        return *static_cast<Compositor*>(wl_resource_get_user_data(resource));
    }
    static void destroy(wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }

    static void receive(wl_client*, wl_resource* offer, const char* target, int into) {
        of(offer).answer(target, Descriptor(into));
    }
    static void getDevice(wl_client* client, wl_resource* manager, std::uint32_t id, wl_resource*) {
        static const struct zwlr_data_control_device_v1_interface requests {
            [](wl_client*, wl_resource*, wl_resource*) {}, destroy, [](wl_client*, wl_resource*, wl_resource*) {}
        };
        wl_resource* const device =
            wl_resource_create(client, &zwlr_data_control_device_v1_interface, wl_resource_get_version(manager), id);
        wl_resource_set_implementation(device, &requests, &of(manager),
                                       [](wl_resource* gone) { of(gone).devices_.erase(gone); });
        of(manager).devices_.insert(device);
        of(manager).announce(device);
    }
    static void bindManager(wl_client* client, void* self, std::uint32_t version, std::uint32_t id) {
        static const struct zwlr_data_control_manager_v1_interface requests {
            [](wl_client*, wl_resource*, std::uint32_t) {}, getDevice, destroy
        };
        wl_resource* const manager =
            wl_resource_create(client, &zwlr_data_control_manager_v1_interface, static_cast<int>(version), id);
        wl_resource_set_implementation(manager, &requests, self, nullptr);
    }
    static void bindSeat(wl_client* client, void*, std::uint32_t version, std::uint32_t id) {
        static_cast<void>(wl_resource_create(client, &wl_seat_interface, static_cast<int>(version), id));
    }
};

Compositor::Compositor(bool sharesClipboard) : display_(wl_display_create()) {
    // A writer whose reader has gone away is told by the write.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    if (!display_ || wl_display_add_socket(display_, socket_.c_str()) != 0) throw std::runtime_error("no compositor");
    wl_global_create(display_, &wl_seat_interface, 1, this, Protocol::bindSeat);
    if (sharesClipboard) {
        wl_global_create(display_, &zwlr_data_control_manager_v1_interface, 2, this, Protocol::bindManager);
    }
    thread_ = std::jthread([this](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            serve();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

Compositor::~Compositor() {
    thread_ = {};
    writers_.clear();
    wl_display_destroy_clients(display_);
    wl_display_destroy(display_);
}

void Compositor::serve() {
    const std::lock_guard lock(mutex_);
    wl_event_loop_dispatch(wl_display_get_event_loop(display_), 0);
    wl_display_flush_clients(display_);
}

void Compositor::own(Content content) {
    const std::lock_guard lock(mutex_);
    content_ = std::move(content);
    for (wl_resource* const device : devices_)
        announce(device);
}

void Compositor::announce(wl_resource* device) {
    if (content_.forms.empty()) return zwlr_data_control_device_v1_send_selection(device, nullptr);
    static const struct zwlr_data_control_offer_v1_interface requests { Protocol::receive, Protocol::destroy };
    wl_resource* const offer =
        wl_resource_create(wl_resource_get_client(device), &zwlr_data_control_offer_v1_interface, 1, 0);
    wl_resource_set_implementation(offer, &requests, this, nullptr);
    zwlr_data_control_device_v1_send_data_offer(device, offer);
    for (const auto& [target, bytes] : content_.forms)
        zwlr_data_control_offer_v1_send_offer(offer, target.c_str());
    zwlr_data_control_device_v1_send_selection(device, offer);
}

void Compositor::answer(const std::string& target, Descriptor into) {
    ++requests_;
    switch (content_.how) {
        case How::silent:
            held_.push_back(std::move(into));
            break;
        case How::losesItself:
            held_.push_back(std::move(into));
            content_ = {};
            for (wl_resource* const device : devices_)
                announce(device);
            break;
        case How::whole:
        case How::endless:
            writers_.emplace_back([to = std::move(into), bytes = content_.forms[target],
                                   repeats = content_.how == How::endless](const std::stop_token& stop) {
                do {
                    for (std::size_t done = 0; done < bytes.size();) {
                        const ssize_t count = ::write(to.get(), bytes.data() + done, bytes.size() - done);
                        if (count <= 0) return;
                        done += static_cast<std::size_t>(count);
                    }
                } while (repeats && !stop.stop_requested());
            });
    }
}

}  // namespace velmora::test
