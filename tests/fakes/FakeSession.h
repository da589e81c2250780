#pragma once

#include "platform/Power.h"
#include "platform/ScreenLock.h"
#include "platform/Trash.h"
#include "tests/fakes/ManualClock.h"

#include <chrono>
#include <stdexcept>

namespace velmora::test {

/// A desktop session that can be locked, put to sleep and rid of its Trash; each can be refused, and the Trash takes as
/// long as told.
class FakeSession final : public Power, public ScreenLock, public Trash {
  public:
    explicit FakeSession(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<SessionAnswer> sleep() override { co_return answer; }
    [[nodiscard]] Task<SessionAnswer> lock() override { co_return answer; }
    [[nodiscard]] Task<bool> empty() override {
        if (delay.count() > 0) co_await clock_.sleep(delay);
        if (trashFails) throw std::runtime_error("the disk is on fire");
        co_return answer == SessionAnswer::accepted;
    }

    SessionAnswer answer = SessionAnswer::accepted;
    bool trashFails = false;
    std::chrono::milliseconds delay{0};

  private:
    ManualClock& clock_;
};

}  // namespace velmora::test
