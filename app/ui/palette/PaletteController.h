#pragma once

#include "app/ui/palette/CommandPanel.h"
#include "app/ui/state/PaletteState.h"
#include "platform/ChildProcess.h"
#include "platform/FileIcons.h"
#include "platform/WindowManager.h"

#include <memory>

class QDialog;

namespace velmora {

class PaletteView;
class ResultIcons;

/// Shows, hides and places the palette's window, and gives its keys to the state.
///
/// Runs on: the main thread. Owns: the window.
class PaletteController {
  public:
    struct Desktop {
        MainExecutor main;
        Executor pool;
        WindowManager& windowManager;
        ChildProcesses& childProcesses;
        std::shared_ptr<const FileIcons> fileIcons;  ///< none: files have a neutral icon
    };

    PaletteController(std::shared_ptr<PaletteState> state, Desktop desktop);
    ~PaletteController();
    PaletteController(const PaletteController&) = delete;
    PaletteController& operator=(const PaletteController&) = delete;

    /// Shows the palette, or hides it when it is shown. While one of our dialogs waits for an answer, this and `show`
    /// bring that to the front instead.
    void toggle();
    /// Shows the palette afresh; only brings it to the front when it is shown already.
    void show();
    void hide();
    [[nodiscard]] bool visible() const { return shown_; }

    [[nodiscard]] CommandPanel& panel() { return panel_; }

  private:
    void open();
    void place();
    void bringForward(QWidget& window);
    void handle(CommandPanel::Key key);
    void deactivated();
    void childClosed();
    [[nodiscard]] QDialog* openDialog() const;

    MainExecutor main_;
    Actor background_;
    std::shared_ptr<PaletteState> state_;
    std::shared_ptr<ResultIcons> icons_;
    Subscription hides_;
    WindowManager& windowManager_;
    CommandPanel panel_;
    PaletteView* view_;  // the panel's
    bool shown_ = false;
};

}  // namespace velmora
