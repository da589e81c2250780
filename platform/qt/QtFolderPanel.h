#pragma once

#include "platform/FolderPanel.h"

namespace velmora {

/// The folder panel as a dialog of the toolkit's own, which has room for our words on every desktop.
class QtFolderPanel final : public FolderPanel {
  public:
    [[nodiscard]] Task<std::optional<std::string>> chooseFolder(FolderPanelRequest request) override;
};

}  // namespace velmora
