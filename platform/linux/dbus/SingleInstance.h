#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace velmora {

/// The program's name on the session bus, which only one process of a session can have. A thread of its own asks for
/// it, so that a bus that keeps silent holds nothing else up.
///
/// Runs on: the thread that made it. Fails with: nothing; without a session bus every process is `alone`.
class SingleInstance {
  public:
    /// How long the bus and the first process are waited for, all questions and the bus's own greeting together.
    static constexpr std::chrono::seconds timeout{2};

    enum class Role {
        unknown,  ///< the bus has not answered yet
        first,    ///< this process has the name
        second,   ///< another process has it
        alone,    ///< there is no bus to ask, or none that answered in time
    };

    /// Begins to ask for the name.
    SingleInstance();
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Waits for the answer, but not longer than `atMost` and never beyond the time limit. Once that is over, it stays
    /// the same.
    [[nodiscard]] Role role(std::chrono::milliseconds atMost = timeout);

    /// For a second process: asks the first one to show itself, or only whether it is there. False when it did not
    /// answer, or when what has the name is something else.
    [[nodiscard]] bool reachFirst(bool show);

    /// For the first process: gives the name up, so that the next start need not wait until this one has ended.
    void release();

    /// For the first process: called when another one asks it to show itself.
    std::function<void()> onShow = [] {};

    /// The descriptor to watch for input; -1 when there is nothing to watch.
    [[nodiscard]] int descriptor() const;

    /// Handles what has come in. False once the bus is gone and the descriptor no longer worth watching.
    [[nodiscard]] bool process();

  private:
    struct Question;
    std::shared_ptr<Question> question_;
    Role role_ = Role::unknown;
};

}  // namespace velmora
