#include "platform/linux/dbus/DesktopServices.h"

#include "platform/linux/dbus/SdBus.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace velmora {
namespace {

using sdbus::Bus;
using sdbus::Message;
using sdbus::methodCall;

constexpr std::uint64_t activationMicroseconds = 25'000'000;
constexpr std::uint64_t scopeMicroseconds = 2'000'000;
constexpr std::chrono::seconds greeting{5};

Bus open() {
    return sdbus::connect(sd_bus_open_user, std::chrono::steady_clock::now() + greeting);
}

std::string objectPath(const std::string& desktopId) {
    std::string path = "/" + desktopId;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/// "app-velmora-<id>-<process>.scope", where what may not stand in a unit's name is written as its bytes.
std::string unitName(int process, std::string_view desktopId) {
    constexpr std::size_t longest = 50;  // a unit's name has at most 255 bytes, and each of these may become four
    constexpr std::string_view digits = "0123456789abcdef";
    std::string escaped;
    for (const char c : desktopId.substr(0, longest)) {
        if (isLetterOrDigit(c) || c == '_' || c == '.' || c == ':') {
            escaped += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return "app-velmora-" + escaped + "-" + std::to_string(process) + ".scope";
}

}  // namespace

DesktopServices::Activation DesktopServices::activate(const std::string& desktopId,
                                                      const std::vector<std::string>& urls) {
    const std::string path = objectPath(desktopId);
    if (!sd_bus_service_name_is_valid(desktopId.c_str()) || !sd_bus_object_path_is_valid(path.c_str())) {
        return Activation::unavailable;
    }
    const Bus bus = open();
    if (!bus) return Activation::unavailable;
    const Message message =
        methodCall(bus, desktopId.c_str(), path, "org.freedesktop.Application", urls.empty() ? "Activate" : "Open");
    std::vector<char*> addresses;
    addresses.reserve(urls.size() + 1);
    for (const std::string& url : urls)
        addresses.push_back(
            const_cast<char*>(url.c_str()));  // NOLINT(cppcoreguidelines-pro-type-const-cast): only read
    addresses.push_back(nullptr);
    bool isWhole = message != nullptr;
    if (!urls.empty()) isWhole = isWhole && sd_bus_message_append_strv(message.get(), addresses.data()) >= 0;
    isWhole = isWhole && sd_bus_message_append(message.get(), "a{sv}", 0) >= 0;
    if (!isWhole) return Activation::unavailable;
    sd_bus_error error{};
    const int answer = sd_bus_call(bus.get(), message.get(), activationMicroseconds, &error, nullptr);
    const bool isUnknown = sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0;
    sd_bus_error_free(&error);
    if (answer >= 0) return Activation::done;
    if (isUnknown) return Activation::unavailable;
    throw std::runtime_error("The application did not come up on the session bus");
}

bool DesktopServices::showItem(const std::string& url) {
    const Bus bus = open();
    if (!bus) return false;
    const Message message = methodCall(bus, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                       "org.freedesktop.FileManager1", "ShowItems");
    return message && sd_bus_message_append(message.get(), "ass", 1, url.c_str(), "") >= 0 &&
           sd_bus_call(bus.get(), message.get(), activationMicroseconds, nullptr, nullptr) >= 0;
}

void DesktopServices::moveToOwnScope(int process, const std::string& desktopId) {
    const Bus bus = open();
    if (!bus) return;
    const Message message = methodCall(bus, "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                       "org.freedesktop.systemd1.Manager", "StartTransientUnit");
    if (!message || sd_bus_message_set_auto_start(message.get(), 0) < 0) return;
    const std::string unit = unitName(process, desktopId);
    const int built = sd_bus_message_append(message.get(), "ssa(sv)a(sa(sv))", unit.c_str(), "fail", 3,           //
                                            "PIDs", "au", 1, static_cast<std::uint32_t>(process),                 //
                                            "Slice", "s", "app.slice", "CollectMode", "s", "inactive-or-failed",  //
                                            0);
    if (built >= 0) sd_bus_call(bus.get(), message.get(), scopeMicroseconds, nullptr, nullptr);
}

}  // namespace velmora
