#include "app/services/KeychainService.h"

#include "tests/fakes/FakeCredentialStore.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(KeychainService, KeepsOneSecretForAnAccountAndSaysWhatWasRefused) {
    struct Case {
        const char* operation;  ///< what to get, else what to set
        const char* refused;
        const char* outcome;
    };
    const char* const denied = "Keychain access was denied.";
    const char* const notRemoved = "The Keychain item could not be removed.";
    test::TestLoop loop;
    test::FakeCredentialStore store;
    KeychainService keychain{store, loop.executor()};
    for (const Case& one : {Case{"get", "", "absent"}, Case{"", "", "done"}, Case{"", "remove", notRemoved},
                            Case{"one", "add", "The secret could not be saved to Keychain."}, Case{"one", "", "done"},
                            Case{"two", "update", denied}, Case{"get", "read", denied},
                            Case{"zweitér\n", "add", "done"}, Case{"get", "", "zweitér\n"}, Case{"", "", "done"},
                            Case{"get", "", "absent"}, Case{"no text: \xff", "", "done"}, Case{"get", "", "absent"}}) {
        store.refuses = {one.refused};
        std::string outcome;
        const TaskHandle task = loop.start(outcome, [&]() -> Task<std::string> {
            if (one.operation == std::string("get")) {
                const std::optional<Secret> found = co_await keychain.get("a");
                co_return found ? std::string(found->view()) : "absent";
            }
            co_await keychain.set(Secret(one.operation), "a");
            co_return "done";
        });
        loop.until([&] { return task.done(); });
        EXPECT_EQ(outcome, one.outcome) << one.operation << " " << one.refused;
    }
}

}  // namespace
}  // namespace velmora
