#pragma once

#include "app/services/applications/ApplicationService.h"
#include "tests/fakes/ManualClock.h"

#include <stdexcept>

namespace velmora::test {

/// Finds the applications it was told. It can fail, and take as long as told.
class FakeApplicationIndexing final : public ApplicationIndexing {
  public:
    explicit FakeApplicationIndexing(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<std::vector<ApplicationRecord>> scan() override {
        ++begun;
        if (delay.count() > 0) co_await clock_.sleep(delay);
        if (fails) throw std::runtime_error("the disk is gone");
        ++completed;
        co_return records;
    }

    std::vector<ApplicationRecord> records;
    std::chrono::milliseconds delay{0};
    bool fails = false;
    int begun = 0;
    int completed = 0;

  private:
    ManualClock& clock_;
};

}  // namespace velmora::test
