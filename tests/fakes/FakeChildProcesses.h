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

/// Programs that take as long as told and end as told. They can refuse to start, and to end when they are terminated.
class FakeChildProcesses final : public ChildProcesses {
  public:
    explicit FakeChildProcesses(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<std::shared_ptr<ChildProcess>> start(ChildProcessRequest request) override {
        requests.push_back(request);
        if (fails) throw std::runtime_error("no such program");
        co_return std::make_shared<Child>(*this);
    }

    /// Executable and arguments of the last program, separated by blanks.
    [[nodiscard]] std::string lastCommand() const {
        std::string line = requests.back().executable;
        for (const std::string& argument : requests.back().arguments)
            line += " " + argument;
        return line;
    }

    bool fails = false;
    ChildProcessEnding ending;
    std::chrono::milliseconds duration{0};
    bool ignoresTermination = false;
    /// Programs that were terminated, ignored it, and wait to be let go.
    std::vector<std::shared_ptr<detail::Waiter>> dying;
    int terminated = 0;
    std::vector<ChildProcessRequest> requests;

  private:
    class Child final : public ChildProcess {
      public:
        explicit Child(FakeChildProcesses& owner) : owner_(owner) {}

        [[nodiscard]] Task<ChildProcessEnding> ending() override {
            std::exception_ptr failure;
            try {
                if (owner_.duration.count() > 0) co_await owner_.clock_.sleep(owner_.duration);
            } catch (...) {
                failure = std::current_exception();
                terminate();
            }
            if (failure && owner_.ignoresTermination) co_await lastBreath();
            if (failure) std::rethrow_exception(failure);
            co_return owner_.ending;
        }

        void terminate() override {
            if (!std::exchange(terminated_, true)) ++owner_.terminated;
        }

      private:
        /// The wait of a cancelled caller for a program that is slow to go.
        [[nodiscard]] Task<> lastBreath() {
            const std::function<void(std::shared_ptr<detail::Waiter>)> park =
                [&](std::shared_ptr<detail::Waiter> waiter) { owner_.dying.push_back(std::move(waiter)); };
            const std::function<void(detail::Waiter&)> ignore = [](detail::Waiter&) {};
            co_await detail::suspend(park, ignore);
        }

        FakeChildProcesses& owner_;
        bool terminated_ = false;
    };

    ManualClock& clock_;
};

}  // namespace velmora::test
