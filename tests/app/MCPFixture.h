#pragma once

#include "app/mcp/StdioTransport.h"
#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "tests/fakes/ManualClock.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace velmora::test {

/// Real processes of a server that misbehaves as told, on a clock that only the test moves.
class MCPTest : public testing::Test {
  protected:
    static MCPServerConfiguration server(const std::string& told = "{}", const std::string& id = "A1") {
        return {.id = id, .name = "Fake", .command = VELMORA_PYTHON, .args = {"-I", VELMORA_FAKE_SERVER, told}};
    }

    // What still runs must not find the clock and the processes gone.
    ~MCPTest() override { pool.stop(); }

    /// Lets time pass until `task` has ended: for what ends only after a while.
    void waitFor(const TaskHandle& task) {
        loop.until([&] {
            clock.advance(std::chrono::milliseconds(10));
            return task.done();
        });
    }

    /// Whether any of the processes still runs, as the answer of the tool "surroundings" has them.
    static bool anyRuns(const JSONValue& surroundings) {
        bool any = false;
        for (const JSONValue& pid : *surroundings["pids"].array()) {
            std::ifstream file("/proc/" + pid.encodedString() + "/stat");
            const std::string status(std::istreambuf_iterator<char>(file), {});
            // One that nobody has waited for yet is there but does not run.
            any = any || (!status.empty() && status.find(") Z ") == std::string::npos);
        }
        return any;
    }

    TestLoop loop;
    TemporaryFolder folder;
    WorkerPool pool{3};
    ManualClock clock;
    LinuxChildProcesses processes{pool.executor(), folder.path()};
    const StdioTransport::Host host{pool.executor(), clock, processes, folder.path()};
};

}  // namespace velmora::test
