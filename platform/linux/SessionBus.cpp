#include "platform/linux/SessionBus.h"

#include "platform/linux/Glib.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace velmora {
namespace {

/// Nothing where the session has no bus; GLib by itself would start one.
glib::Object<GDBusConnection> connection() {
    const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    const bool isThere =
        (address && *address) || (runtime && access((std::string(runtime) + "/bus").c_str(), W_OK) == 0);
    if (!isThere) return nullptr;
    glib::Object<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);  // a bus that ends is no reason for us to
    return bus;
}

std::string objectPath(const std::string& desktopId) {
    std::string path = "/" + desktopId;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

GVariant* parameters(const std::vector<std::string>& urls) {
    GVariantBuilder platformData;
    g_variant_builder_init(&platformData, G_VARIANT_TYPE_VARDICT);
    if (urls.empty()) return g_variant_new("(a{sv})", &platformData);
    GVariantBuilder addresses;
    g_variant_builder_init(&addresses, G_VARIANT_TYPE_STRING_ARRAY);
    for (const std::string& url : urls)
        g_variant_builder_add(&addresses, "s", url.c_str());
    return g_variant_new("(asa{sv})", &addresses, &platformData);
}

/// "app-velmora-<id>-<process>.scope", where what may not stand in a unit's name is written as its bytes.
std::string unitName(int process, std::string_view desktopId) {
    std::string escaped;
    for (const char c : desktopId.substr(0, 150)) {
        if (g_ascii_isalnum(c) || c == '_' || c == '.' || c == ':') {
            escaped += c;
        } else {
            constexpr std::string_view digits = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(c);
            escaped += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return "app-velmora-" + escaped + "-" + std::to_string(process) + ".scope";
}

}  // namespace

SessionBus::Activation SessionBus::activate(const std::string& desktopId, const std::vector<std::string>& urls) {
    const std::string path = objectPath(desktopId);
    if (!g_dbus_is_name(desktopId.c_str()) || !g_variant_is_object_path(path.c_str())) return Activation::unavailable;
    const auto bus = connection();
    if (!bus) return Activation::unavailable;
    GError* failure = nullptr;
    const glib::Variant answer(g_dbus_connection_call_sync(
        bus.get(), desktopId.c_str(), path.c_str(), "org.freedesktop.Application", urls.empty() ? "Activate" : "Open",
        parameters(urls), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &failure));
    const glib::Error error(failure);
    if (answer) return Activation::done;
    if (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN)) return Activation::unavailable;
    throw std::runtime_error("The application did not answer on the session bus");
}

void SessionBus::separate(int process, const std::string& desktopId) {
    const auto bus = connection();
    if (!bus) return;
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a(sv)"));
    const auto pid = static_cast<guint32>(process);
    g_variant_builder_add(&properties, "(sv)", "PIDs",
                          g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, &pid, 1, sizeof pid));
    g_variant_builder_add(&properties, "(sv)", "Slice", g_variant_new_string("app.slice"));
    g_variant_builder_add(&properties, "(sv)", "CollectMode", g_variant_new_string("inactive-or-failed"));
    g_dbus_connection_call(
        bus.get(), "org.freedesktop.systemd1", "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager",
        "StartTransientUnit",
        g_variant_new("(ssa(sv)a(sa(sv)))", unitName(process, desktopId).c_str(), "fail", &properties, nullptr),
        nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
    g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);
}

}  // namespace velmora
