#include "platform/linux/secrets/SecretServiceStore.h"

#include "platform/linux/session/CoreDumps.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/linux/dbus/PrivateBus.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Status = CredentialStatus;

const CredentialName key{"dev.velmora.test", "ai.openai"};
const CredentialName other{"dev.velmora.test", "other"};

std::string textOf(const StoredCredential& read) {
    return read.data ? std::string(read.data->view()) : read.status == Status::notFound ? "absent" : "refused";
}

/// GNOME Keyring on a bus on which nothing else is or can be started: nobody can ask the user for a password.
TEST(SecretServiceStore, KeepsSecretsInTheKeyringUntilTheyAreRemovedOrLocked) {
    const test::TemporaryFolder folder;
    for (const char* const variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_DATA_HOME"})
        setenv(variable, folder.path().c_str(), 1);
    const std::string config =
        "--config-file=" + folder.write("bus", "<busconfig><type>session</type><listen>unix:dir=" + folder.path() +
                                                   "</listen><policy context='default'><allow send_destination='*'/>"
                                                   "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
    const test::ServerProcess daemon({"dbus-daemon", config.c_str(), "--nofork", "--print-address"});
    setenv("DBUS_SESSION_BUS_ADDRESS", daemon.line().c_str(), 1);
    test::ServerProcess keyring({"sh", "-c",
                                 "echo pw >$HOME/pw; echo started; exec gnome-keyring-daemon --foreground --unlock "
                                 "--components=secrets <$HOME/pw 2>/dev/null"});
    SecretServiceStore store{{.answer = 5s, .question = 5s}};
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (store.read(key, {}).status == Status::refused && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();

    const Secret first("eins");
    EXPECT_EQ(textOf(store.read(key, {})), "absent");
    EXPECT_EQ(store.update(key, first, {}), Status::notFound);
    EXPECT_EQ(store.remove(key, {}), Status::notFound);
    EXPECT_EQ(store.add(key, first, {}), Status::ok);
    EXPECT_EQ(store.add(other, first, {}), Status::ok);
    EXPECT_EQ(store.update(key, Secret("zwéi\n"), {}), Status::ok);
    EXPECT_EQ(textOf(store.read(key, {})), "zwéi\n");
    EXPECT_EQ(store.remove(key, {}), Status::ok);
    EXPECT_EQ(textOf(store.read(key, {})), "absent");
    EXPECT_EQ(textOf(store.read(other, {})), "eins");

    sd_bus* bus = nullptr;
    ASSERT_GE(sd_bus_open_user(&bus), 0);
    EXPECT_GE(
        sd_bus_call_method(bus, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                           "Lock", nullptr, nullptr, "ao", 1, "/org/freedesktop/secrets/aliases/default"),
        0);
    sd_bus_flush_close_unref(bus);
    EXPECT_EQ(textOf(store.read(other, {})), "refused");
    EXPECT_EQ(store.update(other, first, {}), Status::refused);
    EXPECT_EQ(store.add(key, first, {}), Status::refused);
    EXPECT_EQ(store.remove(other, {}), Status::refused);
    keyring.end();
    EXPECT_EQ(textOf(store.read(key, {})), "refused") << "there is no service any more";
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

/// A service that has one item, which is locked, and as much to say as it is told.
struct ServiceOfMoods {
    enum class Mood { silent, deaf, asks, asksAndHears };

    int answer(sd_bus_message* message, const std::string& member) const {
        const auto reply = [&](auto... values) { return sd_bus_reply_method_return(message, values...); };
        if (mood == Mood::silent) return 1;
        if (member == "GetAll") return reply("a{sv}", 1, "Locked", "b", 1);
        if (member == "SearchItems") return reply("aoao", 0, 1, item);
        if (member == "Unlock") return reply("aoo", 0, prompt);
        if (member == "OpenSession") {
            const char* algorithm = nullptr;
            sd_bus_message_read(message, "s", &algorithm);
            if (std::string(algorithm) == "plain") return reply("vo", "s", "", "/session");
            return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_NOT_SUPPORTED, "plain only");
        }
        if (member == "GetSecrets")
            return reply("a{o(oayays)}", 1, item, "/session", 0, 4, 'o', 'p', 'e', 'n', "text/plain");
        if (mood == Mood::deaf && member == "Dismiss") return 1;
        reply("");
        if (mood != Mood::asksAndHears && member == "Prompt") return 1;
        if (member == "Prompt") std::this_thread::sleep_for(500ms);  // users take longer than services may
        return sd_bus_emit_signal(sd_bus_message_get_bus(message), prompt, "org.freedesktop.Secret.Prompt", "Completed",
                                  "bv", member == "Dismiss" ? 1 : 0, "ao", 1, item);
    }

    static constexpr const char* item = "/org/freedesktop/secrets/collection/c/1";
    static constexpr const char* prompt = "/org/freedesktop/secrets/prompt/1";
    const Mood mood;
    test::PrivateBus bus{{"org.freedesktop.secrets"}, [this](sd_bus_message* message, std::string&) {
                             return answer(message, sd_bus_message_get_member(message));
                         }};
};

TEST(SecretServiceStore, WaitsForTheUserAndForNobodyElse) {
    using Mood = ServiceOfMoods::Mood;
    const std::pair<Mood, std::string> cases[] = {
        {Mood::silent, "refused"}, {Mood::asksAndHears, "open"}, {Mood::asks, "refused"}};
    for (const auto& [mood, expected] : cases) {
        const ServiceOfMoods service{mood};
        SecretServiceStore store{{.answer = 300ms, .question = mood == Mood::asksAndHears ? 10s : 300ms}};
        EXPECT_EQ(textOf(store.read(key, {})), expected) << static_cast<int>(mood);
    }
    SecretServiceStore store{{.answer = 300ms, .question = 10s}};
    EXPECT_EQ(textOf(store.read(key, {})), "refused") << "there is no bus";
    const ServiceOfMoods service{Mood::asksAndHears};
    service.bus.daemon.freeze();
    EXPECT_EQ(textOf(store.read(key, {})), "refused") << "the bus itself keeps silent";
}

/// With time-outs that no test waits for.
TEST(SecretServiceStore, EndsAtOnceWithItsCallerAndItsService) {
    for (const bool endsBus : {false, true}) {
        ServiceOfMoods service{endsBus ? ServiceOfMoods::Mood::silent : ServiceOfMoods::Mood::asks};
        SecretServiceStore store{{.answer = 1h, .question = 1h}};
        std::stop_source caller;
        std::thread ending([&] {
            while (service.bus.calls().size() < (endsBus ? 1 : 5))
                std::this_thread::yield();
            endsBus ? service.bus.daemon.end() : static_cast<void>(caller.request_stop());
        });
        EXPECT_EQ(textOf(store.read(key, caller.get_token())), "refused");
        ending.join();
    }
}

/// Comes last: what is left behind keeps the connection.
TEST(SecretServiceStore, LeavesAQuestionBehindThatCannotBeDismissed) {
    const ServiceOfMoods service{ServiceOfMoods::Mood::deaf};
    SecretServiceStore store{{.answer = 1h, .question = 100ms}};
    EXPECT_EQ(textOf(store.read(key, {})), "refused");
}

TEST(Secret, CannotBeDumped) {
    keepSecretsFromCoreDumps();
    EXPECT_EQ(prctl(PR_GET_DUMPABLE), 1);
    Secret first("one", " more");
    Secret second(std::move(first));
    first = Secret("another");
    second = Secret();
    EXPECT_EQ(first.view(), "another");
    EXPECT_EQ(prctl(PR_GET_DUMPABLE), 0);
    first = Secret();
    EXPECT_EQ(prctl(PR_GET_DUMPABLE), 1);
}

}  // namespace
}  // namespace velmora
