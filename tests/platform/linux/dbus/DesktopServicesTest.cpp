#include "platform/linux/dbus/DesktopServices.h"

#include "tests/platform/linux/applications/LaunchFixture.h"
#include "tests/platform/linux/dbus/PrivateBus.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

/// A bus on which an application and a service manager live.
struct DesktopBus {
    int answer(sd_bus_message* message, std::string& call) const {
        const std::string member = sd_bus_message_get_member(message);
        const char* text = nullptr;
        if (member == "Open") {
            sd_bus_message_enter_container(message, 'a', "s");
            if (sd_bus_message_read(message, "s", &text) > 0) call += std::string(" ") + text;
        }
        if (member == "StartTransientUnit" && sd_bus_message_read(message, "s", &text) > 0) {
            call += " " + std::string(text).substr(0, std::string(text).rfind('-'));
        }
        if (refuses) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no");
        return sd_bus_reply_method_return(message, nullptr);
    }

    std::atomic<bool> refuses = false;
    test::PrivateBus bus{{"org.example.Probe-App", "org.freedesktop.systemd1"},
                         [this](sd_bus_message* message, std::string& call) { return answer(message, call); }};
};

class DesktopServicesTest : public test::LaunchFixture {
  protected:
    std::string activatable(const std::string& id) { return entry("Exec=probe %U\nDBusActivatable=true\n", id); }
};

const std::string unit = "/org/freedesktop/systemd1 StartTransientUnit app-velmora-";

TEST_F(DesktopServicesTest, ActivatesApplicationsThatTakePart) {
    DesktopBus bus;
    launch(activatable("org.example.Probe-App"));
    EXPECT_EQ(bus.bus.calls(), Texts{"/org/example/Probe_App Activate"});
    DesktopServices::activate("org.example.Probe-App", {"file:///a%20b"});
    EXPECT_EQ(bus.bus.calls().back(), "/org/example/Probe_App Open file:///a%20b");
    EXPECT_FALSE(std::filesystem::exists(probe + ".report"));
    bus.refuses = true;
    EXPECT_THROW(launch(activatable("org.example.Probe-App")), std::runtime_error);
}

TEST_F(DesktopServicesTest, RunsTheProgramWhenItHasArgumentsOrNobodyAnswers) {
    DesktopBus bus;
    EXPECT_EQ(launched(activatable("org.example.Probe-App"), {"--new-window"}).arguments, Texts{"--new-window"});
    EXPECT_EQ(launched(activatable("org.example.Absent")).arguments, Texts{});
    EXPECT_EQ(launched(activatable("not a bus name")).arguments, Texts{});
    EXPECT_EQ(bus.bus.calls(), (Texts{unit + "org.example.Probe\\x2dApp", unit + "org.example.Absent",
                                      unit + "not\\x20a\\x20bus\\x20name"}))
        << "each program gets a scope of its own";
    bus.refuses = true;
    EXPECT_EQ(launched(entry("Exec=probe\n")).arguments, Texts{}) << "without a scope it runs all the same";
}

}  // namespace
}  // namespace velmora
