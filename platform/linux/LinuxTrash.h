#pragma once

#include "platform/Trash.h"

#include <string>

namespace velmora {

/// The trash folders that the desktops share: one in the user's data folder, and those of the mounted volumes. Volumes
/// behind a network or a program are left alone: any look at them may wait for ever.
class LinuxTrash final : public Trash {
  public:
    /// `dataHome` is the user's data folder.
    LinuxTrash(Executor pool, std::string dataHome) : pool_(std::move(pool)), dataHome_(std::move(dataHome)) {}

    [[nodiscard]] Task<bool> empty() override;

  private:
    Executor pool_;
    std::string dataHome_;
};

}  // namespace velmora
