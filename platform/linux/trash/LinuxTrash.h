#pragma once

#include "platform/Trash.h"

#include <string>

namespace velmora {

/// The trash folders that the desktops share: one in the user's data folder, and those of the mounted volumes. Volumes
/// behind a network or a program are left alone: any look at them may wait for ever.
class LinuxTrash final : public Trash {
  public:
    /// `dataHome` is the user's data folder. Without `withVolumes` only the trash in there is the user's: that of
    /// whoever runs with a home that is not the account's own, in a sandbox or a test.
    LinuxTrash(Executor pool, std::string dataHome, bool withVolumes)
        : pool_(std::move(pool)), dataHome_(std::move(dataHome)), withVolumes_(withVolumes) {}

    [[nodiscard]] Task<bool> empty() override;

  private:
    Executor pool_;
    std::string dataHome_;
    bool withVolumes_;
};

}  // namespace velmora
