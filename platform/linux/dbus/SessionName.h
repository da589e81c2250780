#pragma once

#include <functional>
#include <memory>

namespace velmora {

/// The program's name on the session bus, which only one process of a session can have.
///
/// Runs on: the thread that made it. Fails with: nothing; without a session bus every process is `alone`.
class SessionName {
  public:
    enum class Role {
        first,   ///< this process has the name
        second,  ///< another process has it
        alone,   ///< there is no bus to ask
    };

    /// Asks for the name; takes at most two seconds, when a bus is there but does not answer.
    SessionName();
    ~SessionName();
    SessionName(const SessionName&) = delete;
    SessionName& operator=(const SessionName&) = delete;

    [[nodiscard]] Role role() const { return role_; }

    /// For a second process: asks the first one to show itself. False when it did not answer.
    [[nodiscard]] bool showFirst();

    /// For the first process: called when another one asks it to show itself.
    std::function<void()> onShow = [] {};

    /// The descriptor to watch for input; -1 when there is nothing to watch.
    [[nodiscard]] int descriptor() const;

    /// Handles what has come in. False once the bus is gone and the descriptor no longer worth watching.
    [[nodiscard]] bool process();

  private:
    struct Bus;
    std::unique_ptr<Bus> bus_;
    Role role_ = Role::alone;
};

}  // namespace velmora
