#pragma once

#include "platform/ChildProcess.h"
#include "tests/fakes/ManualClock.h"

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

/// Programs that take as long as told and end as told. They can refuse to start, and vanish.
class FakeChildProcesses final : public ChildProcesses {
  public:
    explicit FakeChildProcesses(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<bool> isExecutable(std::string path) override { co_return path != "/nonexistent"; }

    [[nodiscard]] Task<std::shared_ptr<ChildProcess>> start(ChildProcessRequest request) override {
        requests.push_back(request);
        if (fails) throw std::runtime_error("no such program");
        const auto child = std::make_shared<Child>(*this);
        co_await child->say(result.output);
        co_return child;
    }

    /// Executable and arguments of the last program, separated by blanks.
    [[nodiscard]] std::string lastCommand() const {
        std::string line = requests.back().executable;
        for (const std::string& argument : requests.back().arguments)
            line += " " + argument;
        return line;
    }

    bool fails = false;
    ChildProcessResult result;
    std::chrono::milliseconds duration{0};
    bool vanishes = false;  ///< nobody will ever know how it ended
    int terminated = 0;
    std::vector<ChildProcessRequest> requests;

  private:
    class Child final : public ChildProcess {
      public:
        explicit Child(FakeChildProcesses& owner) : owner_(owner) {}

        [[nodiscard]] Task<> say(std::string output) {
            co_await output_.second.write(std::move(output));
            output_.second.finish();
        }

        [[nodiscard]] Task<> write(std::string) override { co_return; }
        void closeInput() override {}
        [[nodiscard]] Stream<std::string>& output() override { return output_.first; }
        [[nodiscard]] Stream<std::string>& errors() override { return output_.first; }

        [[nodiscard]] Task<ChildProcessEnd> finished() override {
            if (owner_.vanishes) throw Cancelled{};
            if (!terminated_ && owner_.duration.count() > 0) co_await owner_.clock_.sleep(owner_.duration);
            co_return owner_.result.end;
        }

        void terminate(std::chrono::milliseconds) override {
            if (!std::exchange(terminated_, true)) ++owner_.terminated;
        }

      private:
        FakeChildProcesses& owner_;
        std::pair<Stream<std::string>, StreamWriter<std::string>> output_ = makeStream<std::string>(1);
        bool terminated_ = false;
    };

    ManualClock& clock_;
};

}  // namespace velmora::test
