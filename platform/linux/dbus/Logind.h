#pragma once

#include "platform/Power.h"
#include "platform/ScreenLock.h"

#include <chrono>

namespace velmora {

/// How long D-Bus services are waited for, all calls of one request together.
inline constexpr std::chrono::seconds dbusTimeout{5};

/// The power management of logind.
class LogindPower final : public Power {
  public:
    explicit LogindPower(Executor pool, std::chrono::milliseconds timeout = dbusTimeout)
        : pool_(std::move(pool)), timeout_(timeout) {}

    [[nodiscard]] Task<SessionAnswer> sleep() override;

  private:
    Executor pool_;
    std::chrono::milliseconds timeout_;
};

/// Locks the screen through logind, whose session is this process's own, or else through the screen saver on the
/// session bus. Each has its own deadline.
class LogindScreenLock final : public ScreenLock {
  public:
    explicit LogindScreenLock(Executor pool, std::chrono::milliseconds timeout = dbusTimeout)
        : pool_(std::move(pool)), timeout_(timeout) {}

    [[nodiscard]] Task<SessionAnswer> lock() override;

  private:
    Executor pool_;
    std::chrono::milliseconds timeout_;
};

}  // namespace velmora
